#include "quick_thumbs/tail.h"

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

// As analysis/duration_check judges what is read here.
constexpr double tailLength = 2;

// A source whose end can't be sought is not read through.
constexpr int mostPackets = 20'000;

double endOf(const AVPacket &packet, const AVStream &stream, double start)
{
    const std::int64_t stamp = std::max(packet.pts, packet.dts);
    return stamp == AV_NOPTS_VALUE
               ? 0
               : seconds(stamp + std::max<std::int64_t>(0, packet.duration), stream.time_base) -
                     start;
}

} // namespace

std::optional<Tail> tailOf(Film &film)
{
    const double claimed = film.duration();
    const bool wasFoundThere = film.format().duration_estimation_method == AVFMT_DURATION_FROM_PTS;
    if (claimed <= 0 || wasFoundThere ||
        !film.seekToAny(std::floor(std::max(0.0, claimed - tailLength)))) {
        return std::nullopt;
    }
    Tail tail;
    for (int i = 0; i < mostPackets; ++i) {
        const PacketPtr packet = film.nextOfAny();
        if (!packet) {
            return tail;
        }
        const AVStream &stream = *film.format().streams[packet->stream_index];
        tail.end = std::max(tail.end, endOf(*packet, stream, film.start()));
        tail.pictures += packet->stream_index == film.video().index ? 1 : 0;
    }
    return std::nullopt;
}

} // namespace qv
