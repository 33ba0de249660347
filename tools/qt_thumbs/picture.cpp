#include "qt_thumbs/picture.h"

#include "thumbs/deinterlace.h"

#include <algorithm>
#include <cstring>

namespace qv
{
namespace
{

// Larger frames are nobody's film.
constexpr int largestSide = 32768;
constexpr std::int64_t largestArea = std::int64_t{1} << 28;

struct ReleaseConverter {
    void operator()(GstVideoConverter *converter) const { gst_video_converter_free(converter); }
};
using ConverterPtr = std::unique_ptr<GstVideoConverter, ReleaseConverter>;

class MappedFrame
{
public:
    MappedFrame(const GstVideoInfo &info, GstBuffer *buffer, GstMapFlags flags)
        : m_mapped(gst_video_frame_map(&m_frame, &info, buffer, flags))
    {
    }
    ~MappedFrame()
    {
        if (m_mapped) {
            gst_video_frame_unmap(&m_frame);
        }
    }
    MappedFrame(const MappedFrame &) = delete;
    MappedFrame &operator=(const MappedFrame &) = delete;

    bool isMapped() const { return m_mapped; }
    GstVideoFrame *get() { return &m_frame; }
    // Alpha, red, green, blue of the first pixel, and so on.
    const std::uint16_t *deepRow(int y) const
    {
        const auto *bytes =
            static_cast<const std::uint8_t *>(GST_VIDEO_FRAME_PLANE_DATA(&m_frame, 0)) +
            static_cast<std::ptrdiff_t>(y) * GST_VIDEO_FRAME_PLANE_STRIDE(&m_frame, 0);
        return static_cast<const std::uint16_t *>(static_cast<const void *>(bytes));
    }

private:
    GstVideoFrame m_frame{};
    bool m_mapped;
};

bool isWithinReason(const GstVideoInfo &info)
{
    return info.width > 0 && info.height > 0 && info.width <= largestSide &&
           info.height <= largestSide && std::int64_t{info.width} * info.height <= largestArea;
}

bool isInterlaced(const GstVideoInfo &info, GstBuffer *buffer)
{
    if (info.interlace_mode == GST_VIDEO_INTERLACE_MODE_MIXED) {
        return GST_BUFFER_FLAG_IS_SET(buffer, GST_VIDEO_BUFFER_FLAG_INTERLACED);
    }
    return info.interlace_mode == GST_VIDEO_INTERLACE_MODE_INTERLEAVED;
}

bool isBottomFirst(const GstVideoInfo &info, GstBuffer *buffer)
{
    const GstVideoFieldOrder order = info.interlace_mode == GST_VIDEO_INTERLACE_MODE_INTERLEAVED
                                         ? GST_VIDEO_INFO_FIELD_ORDER(&info)
                                         : GST_VIDEO_FIELD_ORDER_UNKNOWN;
    if (order != GST_VIDEO_FIELD_ORDER_UNKNOWN) {
        return order == GST_VIDEO_FIELD_ORDER_BOTTOM_FIELD_FIRST;
    }
    return !GST_BUFFER_FLAG_IS_SET(buffer, GST_VIDEO_BUFFER_FLAG_TFF);
}

GstVideoInfo rgbInfo(GstVideoFormat format, int width, int height, const GstVideoInfo &source)
{
    GstVideoInfo info;
    gst_video_info_set_format(&info, format, static_cast<guint>(width), static_cast<guint>(height));
    info.interlace_mode = source.interlace_mode;
    info.fps_n = source.fps_n;
    info.fps_d = source.fps_d;
    return info;
}

GstStructure *bestQuality()
{
    return gst_structure_new(
        "options", GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD, GST_TYPE_VIDEO_RESAMPLER_METHOD,
        GST_VIDEO_RESAMPLER_METHOD_LANCZOS, GST_VIDEO_CONVERTER_OPT_CHROMA_RESAMPLER_METHOD,
        GST_TYPE_VIDEO_RESAMPLER_METHOD, GST_VIDEO_RESAMPLER_METHOD_LINEAR, nullptr);
}

std::uint8_t rounded(std::uint16_t deep)
{
    return static_cast<std::uint8_t>((deep + 128) / 257);
}

Picture pictureFrom(const MappedFrame &frame, int width, int height)
{
    Picture picture{width, height, {}};
    picture.pixels.resize(picture.stride() * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        const std::uint16_t *deep = frame.deepRow(y);
        std::uint8_t *line = picture.row(y);
        for (int x = 0; x < width; ++x, deep += 4, line += 3) {
            line[0] = rounded(deep[1]);
            line[1] = rounded(deep[2]);
            line[2] = rounded(deep[3]);
        }
    }
    return picture;
}

// By way of 16 bits: with 8 the converter's arithmetic is off by several steps.
std::optional<Picture> converted(GstBuffer *buffer, const GstVideoInfo &info, int width, int height)
{
    const GstVideoInfo target = rgbInfo(GST_VIDEO_FORMAT_ARGB64, width, height, info);
    const ConverterPtr converter(gst_video_converter_new(&info, &target, bestQuality()));
    const BufferPtr rgb(gst_buffer_new_allocate(nullptr, target.size, nullptr));
    MappedFrame from(info, buffer, GST_MAP_READ);
    MappedFrame to(target, rgb.get(), GST_MAP_READWRITE);
    if (!converter || !from.isMapped() || !to.isMapped()) {
        return std::nullopt;
    }
    gst_video_converter_frame(converter.get(), from.get(), to.get());
    return pictureFrom(to, width, height);
}

BufferPtr bufferOf(const Picture &picture, const GstVideoInfo &info)
{
    BufferPtr buffer(gst_buffer_new_allocate(nullptr, info.size, nullptr));
    for (int y = 0; y < picture.height; ++y) {
        gst_buffer_fill(buffer.get(), static_cast<gsize>(y) * static_cast<gsize>(info.stride[0]),
                        picture.row(y), picture.stride());
    }
    return buffer;
}

// The comb lines have to go while the lines are still those of the fields.
std::optional<Picture> convertedWithoutCombs(GstBuffer *buffer, const GstVideoInfo &info, int width,
                                             int height)
{
    auto picture = converted(buffer, info, info.width, info.height);
    if (!picture) {
        return std::nullopt;
    }
    deinterlace(*picture, isBottomFirst(info, buffer));
    GstVideoInfo progressive = rgbInfo(GST_VIDEO_FORMAT_RGB, info.width, info.height, info);
    progressive.interlace_mode = GST_VIDEO_INTERLACE_MODE_PROGRESSIVE;
    return converted(bufferOf(*picture, progressive).get(), progressive, width, height);
}

struct Turn {
    bool swap; // rows become columns
    bool flipX;
    bool flipY;
};

Turn turnOf(GstVideoOrientationMethod orientation)
{
    switch (orientation) {
    case GST_VIDEO_ORIENTATION_90R:
        return {true, false, true};
    case GST_VIDEO_ORIENTATION_180:
        return {false, true, true};
    case GST_VIDEO_ORIENTATION_90L:
        return {true, true, false};
    case GST_VIDEO_ORIENTATION_HORIZ:
        return {false, true, false};
    case GST_VIDEO_ORIENTATION_VERT:
        return {false, false, true};
    case GST_VIDEO_ORIENTATION_UL_LR:
        return {true, false, false};
    case GST_VIDEO_ORIENTATION_UR_LL:
        return {true, true, true};
    default:
        return {false, false, false};
    }
}

} // namespace

std::optional<Picture> pictureOf(const Frame &frame, GstVideoOrientationMethod orientation,
                                 int width, int height)
{
    GstVideoInfo info;
    if (!frame.caps || !frame.picture || !gst_video_info_from_caps(&info, frame.caps.get()) ||
        !isWithinReason(info)) {
        return std::nullopt;
    }
    if (isTurnedSideways(orientation)) {
        std::swap(width, height);
    }
    const bool interlaced = isInterlaced(info, frame.picture.get());
    if (!interlaced) {
        info.interlace_mode = GST_VIDEO_INTERLACE_MODE_PROGRESSIVE;
    }
    const auto picture = interlaced
                             ? convertedWithoutCombs(frame.picture.get(), info, width, height)
                             : converted(frame.picture.get(), info, width, height);
    return picture ? std::optional(upright(*picture, orientation)) : std::nullopt;
}

void deinterlace(Picture &picture, bool bottomFirst)
{
    const Rows<std::uint8_t> rows{picture.pixels.data(),
                                  static_cast<std::ptrdiff_t>(picture.stride()), picture.stride(),
                                  picture.height};
    deinterlace(rows, bottomFirst, restingDifference);
}

bool isTurnedSideways(GstVideoOrientationMethod orientation)
{
    return turnOf(orientation).swap;
}

Picture upright(const Picture &picture, GstVideoOrientationMethod orientation)
{
    const Turn turn = turnOf(orientation);
    Picture turned{
        turn.swap ? picture.height : picture.width, turn.swap ? picture.width : picture.height, {}};
    turned.pixels.resize(picture.pixels.size());
    for (int y = 0; y < turned.height; ++y) {
        for (int x = 0; x < turned.width; ++x) {
            const int u = turn.swap ? y : x;
            const int v = turn.swap ? x : y;
            const int fromX = turn.flipX ? picture.width - 1 - u : u;
            const int fromY = turn.flipY ? picture.height - 1 - v : v;
            std::memcpy(turned.row(y) + 3 * x, picture.row(fromY) + 3 * fromX, 3);
        }
    }
    return turned;
}

} // namespace qv
