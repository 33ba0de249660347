#include "quick_thumbs/film.h"

#include "support/media_formats.h"
#include "thumbs/watchdog.h"

#include <cmath>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace qv
{
namespace
{

constexpr double openLimit = 30;
constexpr double readLimit = 20;

// By how many frames decoding may run ahead of display (ITU-T H.264 and H.265).
constexpr int mostReordered = 16;

constexpr std::int64_t behindEverything = std::int64_t{1} << 61; // of a clock's ticks

// A pipe would be waited for.
bool isSpecial(const std::string &path)
{
    struct stat facts {
    };
    return ::stat(path.c_str(), &facts) == 0 && !S_ISREG(facts.st_mode);
}

// Whether the streams are known as soon as the header has been read.
bool hasHeader(const AVFormatContext &format)
{
    return (format.ctx_flags & AVFMTCTX_NOHEADER) == 0;
}

AVStream *streamOfId(const AVFormatContext &format, const AVStream &wanted)
{
    const auto index = static_cast<unsigned>(wanted.index);
    if (index >= format.nb_streams) {
        return nullptr;
    }
    AVStream *stream = format.streams[index];
    const bool isTheSame = stream->id == wanted.id &&
                           stream->codecpar->codec_id == wanted.codecpar->codec_id &&
                           av_cmp_q(stream->time_base, wanted.time_base) == 0;
    return isTheSame ? stream : nullptr;
}

bool isLarger(const AVStream &a, const AVStream &b)
{
    // In this order of weight: one that has packets, the file's own choice, the size.
    const auto score = [](const AVStream &stream) {
        const AVCodecParameters &codec = *stream.codecpar;
        const bool isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
        const bool isDefault = (stream.disposition & AV_DISPOSITION_DEFAULT) != 0;
        return std::int64_t{codec.width} * codec.height +
               ((stream.event_flags & AVSTREAM_EVENT_FLAG_NEW_PACKETS) != 0 ? 100'000'000 : 0) +
               (isDefault ? 5'000'000 : 0) - (isCover ? std::int64_t{1} << 40 : 0);
    };
    return score(a) > score(b);
}

} // namespace

std::string errorText(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return text;
}

AVStream *shownStream(const AVFormatContext &format)
{
    AVStream *shown = nullptr;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        AVStream &stream = *format.streams[i];
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
            (shown == nullptr || isLarger(stream, *shown))) {
            shown = &stream;
        }
    }
    const bool moves = shown != nullptr && (shown->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
    return moves ? shown : nullptr;
}

bool isVideoOrSound(const AVStream &stream)
{
    const AVMediaType type = stream.codecpar->codec_type;
    const bool isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    return type == AVMEDIA_TYPE_AUDIO || (type == AVMEDIA_TYPE_VIDEO && !isCover);
}

tl::expected<FormatPtr, std::string> openedFormat(const std::string &path, int debug)
{
    if (isSpecial(path)) {
        return tl::make_unexpected(std::string("it is no plain file"));
    }
    AVFormatContext *input = avformat_alloc_context();
    input->debug = debug;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "protocol_whitelist", openableProtocols, 0);
    av_dict_set(&options, "format_whitelist", openableFormats, 0);
    av_dict_set(&options, "scan_all_pmts", "1", 0);
    watchdog::allow(openLimit, "opening the file");
    const int opened = avformat_open_input(&input, ("file:" + path).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (opened < 0) {
        return tl::make_unexpected(errorText(opened));
    }
    return FormatPtr(input);
}

tl::expected<std::unique_ptr<Film>, std::string> Film::open(const std::string &path,
                                                            const Film *first)
{
    auto format = openedFormat(path);
    if (!format) {
        return tl::make_unexpected(format.error());
    }
    if (first != nullptr && hasHeader(**format)) {
        std::unique_ptr<Film> film(new Film(std::move(*format)));
        if (film->takeOver(*first)) {
            return film;
        }
        format = std::move(film->m_format);
    }
    if (const int found = avformat_find_stream_info(format->get(), nullptr); found < 0) {
        return tl::make_unexpected(errorText(found));
    }
    return of(std::move(*format));
}

tl::expected<std::unique_ptr<Film>, std::string> Film::of(FormatPtr format)
{
    std::unique_ptr<Film> film(new Film(std::move(format)));
    if (!film->lookForVideo()) {
        return tl::make_unexpected(std::string("no video"));
    }
    return film;
}

bool Film::takeOver(const Film &first)
{
    m_video = streamOfId(*m_format, first.video());
    m_parameters = first.m_parameters;
    m_start = first.m_start;
    readOnlyVideo();
    return m_video != nullptr;
}

bool Film::lookForVideo()
{
    m_video = shownStream(*m_format);
    m_parameters = m_video;
    const std::int64_t start = m_format->start_time;
    m_start = start == AV_NOPTS_VALUE ? 0 : static_cast<double>(start) / AV_TIME_BASE;
    readOnlyVideo();
    return m_video != nullptr;
}

void Film::readOnlyVideo()
{
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        AVStream *stream = m_format->streams[i];
        stream->discard = stream == m_video ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

double Film::duration() const
{
    const std::int64_t ticks = m_format->duration;
    return ticks > 0 ? static_cast<double>(ticks) / AV_TIME_BASE : 0;
}

// Containers seek by the times of decoding, which come before those of display.
bool Film::seek(double instant)
{
    const int frames = hasIndex() ? parameters().video_delay + 1 : mostReordered;
    return seek(instant - frames * frameDuration(), AVSEEK_FLAG_BACKWARD);
}

bool Film::seekToListed(double time)
{
    return seek(time, AVSEEK_FLAG_BACKWARD);
}

bool Film::seekToAny(double instant)
{
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        AVStream *stream = m_format->streams[i];
        stream->discard = isVideoOrSound(*stream) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    return seek(instant, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
}

bool Film::seek(double instant, int flags)
{
    const std::int64_t ticks = ticksOf(instant);
    completeList(ticks);
    return seekToTicks(ticks, flags);
}

bool Film::seekToTicks(std::int64_t ticks, int flags)
{
    watchdog::allow(readLimit, "seeking");
    m_isAtEnd = false;
    return av_seek_frame(m_format.get(), m_video->index, ticks, flags) >= 0;
}

// At each seek to or behind the last key picture that Matroska lists, libavformat reads on to the
// end, to look for more. An entry behind the end keeps it from doing so more than once.
void Film::completeList(std::int64_t wanted)
{
    if (m_isListComplete || !isOfKind("matroska")) {
        return;
    }
    if (!std::exchange(m_isListLoaded, true)) {
        seekToTicks(0, AVSEEK_FLAG_BACKWARD);
    }
    const int count = avformat_index_get_entries_count(m_video);
    if (count == 0 || wanted < avformat_index_get_entry(m_video, count - 1)->timestamp) {
        return;
    }
    m_isListComplete = seekToTicks(behindEverything, AVSEEK_FLAG_BACKWARD);
    if (m_isListComplete) {
        av_add_index_entry(m_video, 0, behindEverything, 0, 0, 0);
    }
}

PacketPtr Film::next()
{
    while (PacketPtr packet = nextOfAny()) {
        if (packet->stream_index == m_video->index) {
            return packet;
        }
    }
    return nullptr;
}

PacketPtr Film::nextOfAny()
{
    PacketPtr packet(av_packet_alloc());
    while (!m_isAtEnd) {
        watchdog::allow(readLimit, "reading");
        const int read = av_read_frame(m_format.get(), packet.get());
        if (read >= 0) {
            return packet;
        }
        m_isAtEnd = read != AVERROR(EAGAIN);
    }
    return nullptr;
}

std::int64_t Film::ticksOf(double instant) const
{
    return std::llround((instant + m_start) / av_q2d(m_video->time_base));
}

std::optional<double> Film::sinceStart(std::int64_t stamp) const
{
    return stamp == AV_NOPTS_VALUE ? std::nullopt
                                   : std::optional(seconds(stamp, m_video->time_base) - m_start);
}

std::optional<double> Film::timeOf(const AVPacket &packet) const
{
    return sinceStart(packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts);
}

std::optional<double> Film::timeOf(const AVFrame &frame) const
{
    return sinceStart(frame.best_effort_timestamp);
}

bool Film::isOfKind(const char *name) const
{
    return std::strncmp(m_format->iformat->name, name, std::strlen(name)) == 0;
}

bool Film::hasIndex() const
{
    // Other formats list only what has been read so far.
    for (const char *name : {"mov,", "matroska", "avi", "flv", "mxf"}) {
        if (isOfKind(name)) {
            return avformat_index_get_entries_count(m_video) > 1;
        }
    }
    return false;
}

// Seconds by which the list runs ahead of display: some have the times of decoding.
double Film::listedAhead() const
{
    return isOfKind("mov,") ? parameters().video_delay * frameDuration() : 0;
}

std::optional<double> Film::keyTime(int entry) const
{
    const AVIndexEntry *found = entry < 0 ? nullptr : avformat_index_get_entry(m_video, entry);
    const bool isKey = found != nullptr && (found->flags & AVINDEX_KEYFRAME) != 0;
    return isKey ? std::optional(sinceStart(found->timestamp).value_or(0) + listedAhead())
                 : std::nullopt;
}

Film::Around Film::keysAround(double instant) const
{
    const std::int64_t ticks = ticksOf(instant - listedAhead());
    return {keyTime(av_index_search_timestamp(m_video, ticks, AVSEEK_FLAG_BACKWARD)),
            keyTime(av_index_search_timestamp(m_video, ticks + 1, 0))};
}

std::vector<double> Film::listedKeys(std::size_t most) const
{
    std::vector<double> keys;
    const int count = hasIndex() ? avformat_index_get_entries_count(m_video) : 0;
    for (int i = 0; i < count; ++i) {
        if (const auto time = keyTime(i)) {
            if (keys.size() == most) {
                return {};
            }
            keys.push_back(*time);
        }
    }
    return keys;
}

// The list of a fragmented file grows beyond the pictures that its header counts.
bool Film::listsAll() const
{
    const std::int64_t counted = m_video->nb_frames;
    return (isOfKind("mov,") || isOfKind("avi")) && counted > 1 &&
           avformat_index_get_entries_count(m_video) == counted;
}

bool Film::isReadByList() const
{
    return isOfKind("mov,") && listsAll();
}

std::optional<double> Film::lastListed() const
{
    const int count = avformat_index_get_entries_count(m_video);
    const AVIndexEntry *last = count > 0 ? avformat_index_get_entry(m_video, count - 1) : nullptr;
    const auto time = last != nullptr ? sinceStart(last->timestamp) : std::nullopt;
    return time ? std::optional(*time + listedAhead()) : std::nullopt;
}

double Film::frameDuration() const
{
    const AVRational rate =
        m_video->avg_frame_rate.num > 0 ? m_video->avg_frame_rate : m_video->r_frame_rate;
    return rate.num > 0 && rate.den > 0 ? 1 / av_q2d(rate) : 0.04;
}

} // namespace qv
