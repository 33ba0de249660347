#include "quick_thumbs/frame_header.h"

#include "quick_thumbs/orientation.h"

#include <cstdio>
#include <utility>

namespace qv
{
namespace
{

constexpr AVRational assumedRate{25, 1};

AVRational rateOf(const Film &film)
{
    const AVRational rate = av_guess_frame_rate(const_cast<AVFormatContext *>(&film.format()),
                                                const_cast<AVStream *>(&film.video()), nullptr);
    return rate.num > 0 && rate.den > 0 ? rate : assumedRate;
}

// The container's word counts more than the decoder's.
AVRational pixelAspect(const Film &film, const AVFrame &frame)
{
    const AVRational stored = film.video().sample_aspect_ratio;
    return stored.num != 0 ? stored : frame.sample_aspect_ratio;
}

char fieldMark(const AVFrame &frame)
{
    if (frame.interlaced_frame == 0) {
        return 'p';
    }
    return frame.top_field_first != 0 ? 't' : 'b';
}

struct Upright {
    int width = 0;
    int height = 0;
    AVRational aspect{0, 0}; // of a pixel; 0:0 when nobody knows
};

Upright uprightOf(const Film &film, const AVFrame &frame)
{
    Upright upright{frame.width, frame.height, pixelAspect(film, frame)};
    if (upright.aspect.num == 0) {
        upright.aspect.den = 0;
    }
    const auto orientation = orientationOf(film.video());
    if (orientation && orientation->swapsSides) {
        std::swap(upright.width, upright.height);
        upright.aspect = av_inv_q(upright.aspect);
    }
    return upright;
}

} // namespace

std::string frameHeader(const Film &film, const AVFrame &frame)
{
    const Upright upright = uprightOf(film, frame);
    const AVRational rate = rateOf(film);
    char header[128];
    std::snprintf(header, sizeof header, "YUV4MPEG2 W%d H%d F%d:%d I%c A%d:%d C420jpeg",
                  upright.width, upright.height, rate.num, rate.den, fieldMark(frame),
                  upright.aspect.num, upright.aspect.den);
    return header;
}

std::optional<double> displayedShape(const Film &film, const AVFrame &frame)
{
    const Upright upright = uprightOf(film, frame);
    if (upright.width <= 0 || upright.height <= 0) {
        return std::nullopt;
    }
    const AVRational aspect = upright.aspect;
    const double pixel = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
    return pixel * upright.width / upright.height;
}

} // namespace qv
