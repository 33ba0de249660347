#pragma once

#include "quick_thumbs/libav.h"

#include <tl/expected.hpp>

#include <optional>
#include <string>
#include <vector>

namespace qv
{

// A source's video stream, read packet by packet. Times are seconds from the source's start.
class Film
{
public:
    // `first` is the same source, opened before: what was found out about its streams is taken over
    // from there where that is safe, so it must live longer.
    static tl::expected<std::unique_ptr<Film>, std::string> open(const std::string &path,
                                                                 const Film *first = nullptr);

    // A source that is open, with what was found out about its streams.
    static tl::expected<std::unique_ptr<Film>, std::string> of(FormatPtr format);

    const AVStream &video() const { return *m_video; }
    const AVFormatContext &format() const { return *m_format; }
    const AVCodecParameters &parameters() const { return *m_parameters->codecpar; }
    double duration() const; // 0 when unknown

    // Goes to the last key picture that is known not to begin after the instant; where the format
    // has no index, to a packet not far before it.
    bool seek(double instant);
    // Goes to a key picture of the container's list.
    bool seekToListed(double time);
    // The next packet of the video stream; nothing at the end.
    PacketPtr next();
    // The same with all video and sound: to any packet near the instant, and the packets that
    // follow.
    bool seekToAny(double instant);
    PacketPtr nextOfAny();
    void readOnlyVideo();                    // after seekToAny
    double start() const { return m_start; } // of the source's clock, seconds
    // Of a packet or frame; nothing when it carries none.
    std::optional<double> timeOf(const AVPacket &packet) const;
    std::optional<double> timeOf(const AVFrame &frame) const;

    // Whether the container lists its key pictures.
    bool hasIndex() const;
    // From the list: the last key picture at or before the instant, the first after it. Good to a
    // frame or two.
    struct Around {
        std::optional<double> before;
        std::optional<double> after;
    };
    Around keysAround(double instant) const;
    // The list itself, in order; nothing when it has more entries than `most`.
    std::vector<double> listedKeys(std::size_t most) const;
    // Matroska's list is read at the first seek; beyond its end it takes reading the pictures.
    void readListTo(double instant) { completeList(ticksOf(instant)); }
    // Whether no key picture is missing in the list; Matroska's is completed by a seek to the end.
    bool listsAllKeys() const { return m_isListComplete || listsAll(); }
    // Whether the list has all pictures, not only key pictures or what has been read so far.
    bool listsAll() const;
    // Whether that list, with those of the sound, is all that packets are read by.
    bool isReadByList() const;
    // Whether what has been read of it changes nothing for what is read next.
    bool isAsNew() const { return isReadByList() || m_isListComplete; }
    // When the last picture of the list is shown, good to a frame or two.
    std::optional<double> lastListed() const;
    double frameDuration() const; // seconds; a guess when the rate is unknown

private:
    explicit Film(FormatPtr format) : m_format(std::move(format)) {}
    bool takeOver(const Film &first);
    bool lookForVideo();
    bool seek(double instant, int flags);
    bool seekToTicks(std::int64_t ticks, int flags);
    void completeList(std::int64_t wanted);
    std::int64_t ticksOf(double instant) const;
    std::optional<double> sinceStart(std::int64_t stamp) const;
    std::optional<double> keyTime(int entry) const;
    double listedAhead() const;
    bool isOfKind(const char *name) const;

    FormatPtr m_format;
    AVStream *m_video = nullptr;
    const AVStream *m_parameters = nullptr; // of the first opening
    double m_start = 0;
    bool m_isAtEnd = false;
    bool m_isListLoaded = false;
    bool m_isListComplete = false;
};

// Whether the stream is a moving picture or sound.
bool isVideoOrSound(const AVStream &stream);

// The source without what is known of its streams. `debug` is the libraries' FF_FDEBUG_TS or 0.
tl::expected<FormatPtr, std::string> openedFormat(const std::string &path, int debug = 0);

// The stream that ffmpeg would show: of those that move the largest one.
AVStream *shownStream(const AVFormatContext &format);

} // namespace qv
