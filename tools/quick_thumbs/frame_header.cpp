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

} // namespace

std::string frameHeader(const Film &film, const AVFrame &frame)
{
    const auto orientation = orientationOf(film.video());
    int width = frame.width;
    int height = frame.height;
    AVRational aspect = pixelAspect(film, frame);
    if (orientation && orientation->swapsSides) {
        std::swap(width, height);
        aspect = aspect.num != 0 ? av_inv_q(aspect) : aspect;
    }
    if (aspect.num == 0) {
        aspect.den = 0;
    }
    const AVRational rate = rateOf(film);
    char header[128];
    std::snprintf(header, sizeof header, "YUV4MPEG2 W%d H%d F%d:%d I%c A%d:%d C420jpeg", width,
                  height, rate.num, rate.den, fieldMark(frame), aspect.num, aspect.den);
    return header;
}

std::optional<double> displayedShape(const std::string &header)
{
    int width = 0;
    int height = 0;
    int rate[2] = {};
    char fields = 0;
    int aspect[2] = {};
    const int read = std::sscanf(header.c_str(), "YUV4MPEG2 W%d H%d F%d:%d I%c A%d:%d", &width,
                                 &height, &rate[0], &rate[1], &fields, &aspect[0], &aspect[1]);
    if (read != 7 || width <= 0 || height <= 0) {
        return std::nullopt;
    }
    const double pixel = aspect[0] > 0 && aspect[1] > 0 ? double(aspect[0]) / aspect[1] : 1;
    return pixel * width / height;
}

} // namespace qv
