#include "quick_thumbs/fields.h"

#include "thumbs/deinterlace.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cstdint>

namespace qv
{
namespace
{

// Every component in a plane of its own, in whole bytes of this machine's order.
bool isPlanar(const AVPixFmtDescriptor &format)
{
    constexpr std::uint64_t other = AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL |
                                    AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL |
                                    AV_PIX_FMT_FLAG_FLOAT;
    const bool hasPlanes =
        format.nb_components == 1 || (format.flags & AV_PIX_FMT_FLAG_PLANAR) != 0;
    for (int i = 0; i < format.nb_components; ++i) {
        const AVComponentDescriptor &component = format.comp[i];
        const bool isWhole = component.step == (component.depth > 8 ? 2 : 1) &&
                             component.plane == i && component.shift == 0;
        if (!isWhole) {
            return false;
        }
    }
    return hasPlanes && (format.flags & other) == 0;
}

template <typename Sample>
void takeOut(AVFrame &frame, const AVPixFmtDescriptor &format, int plane, bool bottomFirst)
{
    const bool isColour = (plane == 1 || plane == 2) && (format.flags & AV_PIX_FMT_FLAG_RGB) == 0;
    const int width = isColour ? AV_CEIL_RSHIFT(frame.width, format.log2_chroma_w) : frame.width;
    const int height = isColour ? AV_CEIL_RSHIFT(frame.height, format.log2_chroma_h) : frame.height;
    const Rows<Sample> rows{static_cast<Sample *>(static_cast<void *>(frame.data[plane])),
                            frame.linesize[plane] / static_cast<std::ptrdiff_t>(sizeof(Sample)),
                            static_cast<std::size_t>(width), height};
    deinterlace(rows, bottomFirst, restingDifference << (format.comp[plane].depth - 8));
}

} // namespace

bool takeOutCombs(AVFrame &frame, bool bottomFirst)
{
    const AVPixFmtDescriptor *format =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (format == nullptr || !isPlanar(*format) || av_frame_make_writable(&frame) < 0) {
        return false;
    }
    for (int plane = 0; plane < format->nb_components; ++plane) {
        if (format->comp[plane].depth > 8) {
            takeOut<std::uint16_t>(frame, *format, plane, bottomFirst);
        } else {
            takeOut<std::uint8_t>(frame, *format, plane, bottomFirst);
        }
    }
    return true;
}

} // namespace qv
