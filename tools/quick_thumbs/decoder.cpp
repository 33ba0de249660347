#include "quick_thumbs/decoder.h"

#include "thumbs/watchdog.h"

namespace qv
{
namespace
{

constexpr double decodeLimit = 20;

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
    std::unique_ptr<Decoder> decoder(new Decoder);
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

void Decoder::restart()
{
    avcodec_flush_buffers(m_codec.get());
}

void Decoder::hurry(bool isInHurry)
{
    m_codec->skip_frame = isInHurry ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
}

bool isWhole(const AVFrame &frame)
{
    return frame.width > 0 && frame.height > 0 && (frame.flags & AV_FRAME_FLAG_CORRUPT) == 0 &&
           frame.decode_error_flags == 0;
}

FramePtr Decoder::alone(const KeyPicture &key)
{
    restart();
    hurry(false);
    for (const PacketPtr &packet : key.packets) {
        send(packet.get());
    }
    send(nullptr);
    FramePtr frame = receive();
    restart();
    return frame && isWhole(*frame) && isIntra(*frame) ? std::move(frame) : nullptr;
}

} // namespace qv
