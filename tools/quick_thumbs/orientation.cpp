#include "quick_thumbs/orientation.h"

extern "C" {
#include <libavutil/display.h>
}

#include <cmath>
#include <cstring>

namespace qv
{
namespace
{

// Degrees, clockwise, from 0 to below 360.
double clockwiseTurn(const std::int32_t *matrix)
{
    double turn = -std::round(av_display_rotation_get(matrix));
    turn -= 360 * std::floor(turn / 360 + 0.9 / 360);
    return turn;
}

bool isNear(double a, double b)
{
    return std::abs(a - b) < 1;
}

} // namespace

std::optional<Orientation> orientationOf(const AVStream &stream)
{
    const auto *matrix = reinterpret_cast<const std::int32_t *>(
        av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (matrix == nullptr) {
        return Orientation();
    }
    const double turn = clockwiseTurn(matrix);
    if (isNear(turn, 90)) {
        // A quarter turn is the diagonal mirror and then one at the upright axis.
        return matrix[3] > 0 ? Orientation{true, false, false} : Orientation{true, true, false};
    }
    if (isNear(turn, 180)) {
        return Orientation{false, matrix[0] < 0, matrix[4] < 0};
    }
    if (isNear(turn, 270)) {
        return matrix[3] < 0 ? Orientation{true, true, true} : Orientation{true, false, true};
    }
    if (isNear(turn, 0)) {
        return Orientation{false, false, matrix[4] < 0};
    }
    return std::nullopt;
}

Picture oriented(const Picture &picture, const Orientation &orientation)
{
    if (orientation.isPlain()) {
        return picture;
    }
    Picture turned = picture;
    turned.width = orientation.swapsSides ? picture.height : picture.width;
    turned.height = orientation.swapsSides ? picture.width : picture.height;
    const std::size_t size = picture.pixelSize();
    for (int y = 0; y < turned.height; ++y) {
        std::uint8_t *to = turned.row(y);
        for (int x = 0; x < turned.width; ++x, to += size) {
            const int fromX = orientation.mirrorsX ? turned.width - 1 - x : x;
            const int fromY = orientation.mirrorsY ? turned.height - 1 - y : y;
            const std::uint8_t *from =
                orientation.swapsSides
                    ? picture.row(fromX) + static_cast<std::size_t>(fromY) * size
                    : picture.row(fromY) + static_cast<std::size_t>(fromX) * size;
            std::memcpy(to, from, size);
        }
    }
    return turned;
}

} // namespace qv
