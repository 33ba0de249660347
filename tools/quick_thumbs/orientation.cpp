#include "quick_thumbs/orientation.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

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

// Where the pixels of an upright picture are in the stored one.
struct Source {
    const std::uint8_t *first = nullptr; // the upper left one
    std::ptrdiff_t right = 0;            // bytes to the next one of the row
    std::ptrdiff_t down = 0;             // bytes to the one below
};

Source sourceOf(const Picture &picture, const Orientation &orientation)
{
    const int width = orientation.swapsSides ? picture.height : picture.width;
    const int height = orientation.swapsSides ? picture.width : picture.height;
    Source source{picture.pixels.data(), static_cast<std::ptrdiff_t>(picture.pixelSize()),
                  static_cast<std::ptrdiff_t>(picture.stride())};
    if (orientation.swapsSides) {
        std::swap(source.right, source.down);
    }
    if (orientation.mirrorsX) {
        source.first += (width - 1) * source.right;
        source.right = -source.right;
    }
    if (orientation.mirrorsY) {
        source.first += (height - 1) * source.down;
        source.down = -source.down;
    }
    return source;
}

// In bands of rows: where sides are swapped, a column of a band is one cache line of the source.
template <std::ptrdiff_t Size> void copyPixels(const Source &source, Picture &to)
{
    constexpr int band = 16;
    const auto stride = static_cast<std::ptrdiff_t>(to.stride());
    for (int top = 0; top < to.height; top += band) {
        const int rows = std::min(band, to.height - top);
        for (int x = 0; x < to.width; ++x) {
            const std::uint8_t *from = source.first + x * source.right + top * source.down;
            std::uint8_t *pixel = to.row(top) + x * Size;
            for (int y = 0; y < rows; ++y, from += source.down, pixel += stride) {
                std::memcpy(pixel, from, Size);
            }
        }
    }
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
    Picture turned{picture.width, picture.height, {}, picture.order, picture.hasFineColours};
    if (orientation.swapsSides) {
        std::swap(turned.width, turned.height);
    }
    turned.pixels.resize(picture.pixels.size());
    const Source source = sourceOf(picture, orientation);
    if (picture.pixelSize() == 4) {
        copyPixels<4>(source, turned);
    } else {
        copyPixels<3>(source, turned);
    }
    return turned;
}

} // namespace qv
