#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

// The libraries' things, owned.
namespace qv
{

struct FreeFormat {
    void operator()(AVFormatContext *format) const { avformat_close_input(&format); }
};
struct FreeCodec {
    void operator()(AVCodecContext *codec) const { avcodec_free_context(&codec); }
};
struct FreePacket {
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
struct FreeFrame {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
struct FreeScaler {
    void operator()(SwsContext *scaler) const { sws_freeContext(scaler); }
};

using FormatPtr = std::unique_ptr<AVFormatContext, FreeFormat>;
using CodecPtr = std::unique_ptr<AVCodecContext, FreeCodec>;
using PacketPtr = std::unique_ptr<AVPacket, FreePacket>;
using FramePtr = std::unique_ptr<AVFrame, FreeFrame>;
using ScalerPtr = std::unique_ptr<SwsContext, FreeScaler>;

// What an error number means.
std::string errorText(int error);

inline double seconds(std::int64_t ticks, AVRational base)
{
    return static_cast<double>(ticks) * av_q2d(base);
}

} // namespace qv
