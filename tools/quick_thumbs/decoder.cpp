#include "quick_thumbs/decoder.h"

#include "thumbs/watchdog.h"

#include <cmath>

namespace qv
{
namespace
{

constexpr double decodeLimit = 20;

// Time stamps are rounded on their way.
constexpr double rounding = 0.001;

// Pictures on which no other builds are left out up to so many seconds before the instant.
constexpr double hurryUntil = 1.5;

// Without an index nobody knows whether a key picture stands between here and there.
constexpr double longestWay = 10;

bool isIntra(const AVFrame &frame)
{
    return frame.pict_type == AV_PICTURE_TYPE_I || frame.pict_type == AV_PICTURE_TYPE_NONE ||
           frame.pict_type == AV_PICTURE_TYPE_SI || frame.key_frame != 0;
}

} // namespace

tl::expected<std::unique_ptr<Decoder>, std::string> Decoder::open(const Film &film)
{
    const AVCodec *codec = avcodec_find_decoder(film.parameters().codec_id);
    if (codec == nullptr) {
        return tl::make_unexpected(std::string("there is no decoder for it"));
    }
    std::unique_ptr<Decoder> decoder(new Decoder(film));
    decoder->m_codec.reset(avcodec_alloc_context3(codec));
    AVCodecContext *context = decoder->m_codec.get();
    int opened = avcodec_parameters_to_context(context, &film.parameters());
    // The workers are the threads.
    context->thread_count = 1;
    context->pkt_timebase = film.video().time_base;
    opened = opened < 0 ? opened : avcodec_open2(context, codec, nullptr);
    if (opened < 0) {
        return tl::make_unexpected(errorText(opened));
    }
    return decoder;
}

// A packet that is refused is skipped: the ones that follow may still be good.
void Decoder::send(const AVPacket *packet)
{
    watchdog::allow(decodeLimit, "decoding");
    avcodec_send_packet(m_codec.get(), packet);
}

FramePtr Decoder::receive()
{
    watchdog::allow(decodeLimit, "decoding");
    FramePtr frame(av_frame_alloc());
    return avcodec_receive_frame(m_codec.get(), frame.get()) >= 0 ? std::move(frame) : nullptr;
}

FramePtr Decoder::step(const AVPacket *packet)
{
    send(packet);
    return receive();
}

void Decoder::restart()
{
    avcodec_flush_buffers(m_codec.get());
    m_reached.reset();
    m_ahead.reset();
}

bool Decoder::isWhole(const AVFrame &frame) const
{
    return frame.width > 0 && frame.height > 0 && (frame.flags & AV_FRAME_FLAG_CORRUPT) == 0 &&
           frame.decode_error_flags == 0;
}

FramePtr Decoder::alone(const KeyPicture &key)
{
    restart();
    m_codec->skip_frame = AVDISCARD_DEFAULT;
    for (const PacketPtr &packet : key.packets) {
        send(packet.get());
    }
    send(nullptr);
    FramePtr frame = receive();
    restart();
    return frame && isWhole(*frame) && isIntra(*frame) ? std::move(frame) : nullptr;
}

bool Decoder::canGoOn(const Film &film, double instant) const
{
    if (!m_reached || *m_reached > instant) {
        return false;
    }
    if (!film.hasIndex()) {
        return instant - *m_reached < longestWay;
    }
    const auto before = film.keysAround(instant).before;
    return !before || *before <= *m_reached + rounding;
}

FramePtr Decoder::upTo(Film &film, double instant)
{
    if (m_ahead && m_reached && *m_reached >= instant - rounding && canGoOn(film, instant)) {
        return FramePtr(av_frame_clone(m_ahead.get()));
    }
    if (!canGoOn(film, instant)) {
        restart();
        if (!film.seek(instant)) {
            return nullptr;
        }
    }
    return frameAt(film, instant);
}

FramePtr Decoder::frameAt(Film &film, double instant)
{
    const double goal = instant - std::max(rounding, film.frameDuration() / 4);
    FramePtr last;
    while (true) {
        while (FramePtr frame = receive()) {
            const auto time = m_film.timeOf(*frame);
            m_reached = time ? time : m_reached;
            if (isWhole(*frame)) {
                last = std::move(frame);
                if (time && *time >= goal) {
                    m_ahead.reset(av_frame_clone(last.get()));
                    return last;
                }
            }
        }
        const PacketPtr packet = film.next();
        if (!packet) {
            break;
        }
        const auto time = m_film.timeOf(*packet);
        m_codec->skip_frame =
            time && *time < instant - hurryUntil ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
        send(packet.get());
    }
    send(nullptr);
    while (FramePtr frame = receive()) {
        if (isWhole(*frame)) {
            last = std::move(frame);
        }
    }
    restart();
    return last;
}

} // namespace qv
