// The least that pictures of a film cost: opens it once and, for each of the instants, seeks,
// decodes the key picture before it and scales it. Keeps none. The measure of quick pictures.
//
// quick_loop SOURCE WIDTH HEIGHT COUNT

#include <cstdio>
#include <cstdlib>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace
{

template <typename Thing, void (*release)(Thing **)> struct Releaser {
    void operator()(Thing *thing) const { release(&thing); }
};
using Input = std::unique_ptr<AVFormatContext, Releaser<AVFormatContext, avformat_close_input>>;
using Decoder = std::unique_ptr<AVCodecContext, Releaser<AVCodecContext, avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Releaser<AVPacket, av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, Releaser<AVFrame, av_frame_free>>;

Input opened(const char *source)
{
    AVFormatContext *input = nullptr;
    if (avformat_open_input(&input, source, nullptr, nullptr) < 0) {
        return nullptr;
    }
    Input held(input);
    return avformat_find_stream_info(input, nullptr) < 0 ? nullptr : std::move(held);
}

Decoder decoderOf(const AVStream &stream)
{
    const AVCodec *codec = avcodec_find_decoder(stream.codecpar->codec_id);
    Decoder decoder(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0) {
        return nullptr;
    }
    decoder->thread_count = 1;
    decoder->skip_frame = AVDISCARD_NONKEY;
    return avcodec_open2(decoder.get(), codec, nullptr) < 0 ? nullptr : std::move(decoder);
}

class Film
{
public:
    bool open(const char *source)
    {
        m_input = opened(source);
        m_video = m_input
                      ? av_find_best_stream(m_input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0)
                      : -1;
        if (m_video < 0) {
            return false;
        }
        for (unsigned i = 0; i < m_input->nb_streams; ++i) {
            m_input->streams[i]->discard =
                static_cast<int>(i) == m_video ? AVDISCARD_NONKEY : AVDISCARD_ALL;
        }
        m_decoder = decoderOf(*m_input->streams[m_video]);
        return m_decoder != nullptr;
    }

    int64_t duration() const { return m_input->duration; } // in AV_TIME_BASE

    // The key picture before the instant, or null.
    const AVFrame *keyPicture(int64_t instant)
    {
        const int64_t start = m_input->start_time == AV_NOPTS_VALUE ? 0 : m_input->start_time;
        if (av_seek_frame(m_input.get(), -1, start + instant, AVSEEK_FLAG_BACKWARD) < 0) {
            return nullptr;
        }
        avcodec_flush_buffers(m_decoder.get());
        while (av_read_frame(m_input.get(), m_packet.get()) >= 0) {
            const bool isKey =
                m_packet->stream_index == m_video && (m_packet->flags & AV_PKT_FLAG_KEY) != 0;
            const bool came = isKey && decodes();
            av_packet_unref(m_packet.get());
            if (came) {
                return m_frame.get();
            }
        }
        return nullptr;
    }

private:
    // The end is told at once, as the decoder would wait for pictures to put before this one.
    bool decodes()
    {
        if (avcodec_send_packet(m_decoder.get(), m_packet.get()) < 0) {
            return false;
        }
        avcodec_send_packet(m_decoder.get(), nullptr);
        const bool came = avcodec_receive_frame(m_decoder.get(), m_frame.get()) >= 0;
        if (!came) {
            avcodec_flush_buffers(m_decoder.get());
        }
        return came;
    }

    Input m_input;
    int m_video = -1;
    Decoder m_decoder;
    Packet m_packet{av_packet_alloc()};
    Frame m_frame{av_frame_alloc()};
};

class Scaler
{
public:
    Scaler(int width, int height) : m_width(width), m_height(height)
    {
        av_image_alloc(m_planes, m_strides, width, height, format, 32);
    }
    ~Scaler()
    {
        av_freep(&m_planes[0]);
        sws_freeContext(m_context);
    }
    Scaler(const Scaler &) = delete;
    Scaler &operator=(const Scaler &) = delete;

    bool scale(const AVFrame &frame)
    {
        m_context = sws_getCachedContext(m_context, frame.width, frame.height,
                                         static_cast<AVPixelFormat>(frame.format), m_width,
                                         m_height, format, SWS_BICUBIC, nullptr, nullptr, nullptr);
        return m_context != nullptr && m_planes[0] != nullptr &&
               sws_scale(m_context, frame.data, frame.linesize, 0, frame.height, m_planes,
                         m_strides) == m_height;
    }

private:
    static constexpr AVPixelFormat format = AV_PIX_FMT_YUV420P;
    int m_width;
    int m_height;
    SwsContext *m_context = nullptr;
    uint8_t *m_planes[4] = {};
    int m_strides[4] = {};
};

} // namespace

int main(int argc, char **argv)
{
    const int count = argc == 5 ? std::atoi(argv[4]) : 0;
    if (count < 1 || std::atoi(argv[2]) < 1 || std::atoi(argv[3]) < 1) {
        std::fputs("usage: quick_loop SOURCE WIDTH HEIGHT COUNT\n", stderr);
        return 2;
    }
    Film film;
    if (!film.open(argv[1])) {
        std::fputs("the film can't be opened\n", stderr);
        return 1;
    }
    Scaler scaler(std::atoi(argv[2]), std::atoi(argv[3]));
    for (int i = 0; i < count; ++i) {
        const AVFrame *picture = film.keyPicture(film.duration() / count * i);
        if (picture == nullptr || !scaler.scale(*picture)) {
            std::fprintf(stderr, "no picture %d\n", i);
            return 1;
        }
    }
    return 0;
}
