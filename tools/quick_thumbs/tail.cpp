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

double beginOf(const Film &film)
{
    return std::floor(std::max(0.0, film.duration() - tailLength));
}

// Of a stream whose packets are all listed; nothing when the file doesn't hold them.
std::optional<double> listedEnd(AVStream &stream, std::int64_t fileSize)
{
    const AVIndexEntry *entry = nullptr;
    const int count = avformat_index_get_entries_count(&stream);
    for (int i = 0; i < count; ++i) {
        entry = avformat_index_get_entry(&stream, i);
        if (entry->pos < 0 || entry->pos + entry->size > fileSize) {
            return std::nullopt;
        }
    }
    if (entry == nullptr) {
        return std::nullopt;
    }
    // The last packet lasts up to the end of its stream.
    return seconds(std::max(entry->timestamp, stream.duration), stream.time_base);
}

int picturesListed(AVStream &video, double from)
{
    int pictures = 0;
    for (int i = avformat_index_get_entries_count(&video) - 1; i >= 0; --i, ++pictures) {
        const AVIndexEntry *entry = avformat_index_get_entry(&video, i);
        if (seconds(entry->timestamp, video.time_base) < from) {
            break;
        }
    }
    return pictures;
}

std::optional<Tail> listedTail(const Film &film)
{
    if (!film.isReadByList()) {
        return std::nullopt;
    }
    const AVFormatContext &format = film.format();
    Tail tail{.isWhole = true};
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        AVStream &stream = *format.streams[i];
        if (!isVideoOrSound(stream)) {
            continue;
        }
        const auto end = listedEnd(stream, avio_size(format.pb));
        if (!end) {
            return std::nullopt;
        }
        tail.end = std::max(tail.end, *end - film.start());
    }
    tail.pictures =
        picturesListed(*format.streams[film.video().index], beginOf(film) + film.start());
    return tail;
}

std::optional<Tail> readTail(Film &film)
{
    if (!film.seekToAny(beginOf(film))) {
        return std::nullopt;
    }
    Tail tail;
    for (int i = 0; i < mostPackets; ++i) {
        const PacketPtr packet = film.nextOfAny();
        if (!packet) {
            tail.isWhole = true;
            return tail;
        }
        const AVStream &stream = *film.format().streams[packet->stream_index];
        tail.end = std::max(tail.end, endOf(*packet, stream, film.start()));
        if (packet->stream_index == film.video().index) {
            ++tail.pictures;
            tail.latest = std::max(tail.latest, film.timeOf(*packet).value_or(0));
        }
    }
    return tail;
}

// Reads from the last key picture to the end.
std::optional<double> lastRead(Film &film)
{
    const auto key = film.keysAround(film.duration()).before;
    std::optional<double> last;
    if (key && film.seekToListed(*key)) {
        while (const PacketPtr packet = film.next()) {
            last = std::max(last.value_or(0), film.timeOf(*packet).value_or(0));
        }
    }
    return last;
}

} // namespace

std::optional<Tail> tailOf(Film &film)
{
    const bool wasFoundThere = film.format().duration_estimation_method == AVFMT_DURATION_FROM_PTS;
    if (film.duration() <= 0 || wasFoundThere) {
        return std::nullopt;
    }
    auto tail = listedTail(film);
    if (!tail) {
        tail = readTail(film);
        film.readOnlyVideo();
    }
    return tail;
}

std::optional<double> lastPictureOf(Film &film, const Tail &tail)
{
    constexpr double rounding = 0.1;
    constexpr double endTolerance = 3;
    // A list that ends before its container does lacks fragments.
    if (tail.isWhole && tail.end < film.duration() - endTolerance) {
        return std::nullopt;
    }
    if (film.listsAll()) {
        const auto last = film.lastListed();
        return last && tail.latest <= *last + rounding ? last : std::nullopt;
    }
    const bool endsBefore = tail.isWhole && tail.pictures == 0;
    return endsBefore && film.listsAllKeys() ? lastRead(film) : std::nullopt;
}

} // namespace qv
