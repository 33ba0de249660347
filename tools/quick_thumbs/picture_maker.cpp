#include "quick_thumbs/picture_maker.h"

#include "quick_thumbs/fields.h"
#include "quick_thumbs/filter_module.h"
#include "support/display_colours.h"
#include "thumbs/watchdog.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace qv
{
namespace
{

constexpr double convertLimit = 30;

// Larger frames are nobody's film.
constexpr std::int64_t largestArea = std::int64_t{1} << 28;

constexpr auto outputFormat = AV_PIX_FMT_BGR0;

bool isHighDynamicRange(const AVFrame &frame)
{
    return frame.color_trc == AVCOL_TRC_SMPTE2084 || frame.color_trc == AVCOL_TRC_ARIB_STD_B67;
}

bool needsGamutMapping(const AVFrame &frame)
{
    return frame.color_primaries == AVCOL_PRI_BT2020 ||
           frame.color_primaries == AVCOL_PRI_SMPTE431 ||
           frame.color_primaries == AVCOL_PRI_SMPTE432 ||
           frame.colorspace == AVCOL_SPC_YCGCO; // which the scaler doesn't know
}

bool needsColourMapping(const AVFrame &frame)
{
    return isHighDynamicRange(frame) || needsGamutMapping(frame);
}

bool isInterlacedOrder(AVFieldOrder order)
{
    return order == AV_FIELD_TT || order == AV_FIELD_BB || order == AV_FIELD_TB ||
           order == AV_FIELD_BT;
}

// Each a number of swscale's.
int colourMatrix(const AVFrame &frame)
{
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return SWS_CS_ITU601;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return isHdSize(frame.width, frame.height) ? SWS_CS_ITU709 : SWS_CS_ITU601;
    }
}

bool hasFineColours(AVPixelFormat format)
{
    const AVPixFmtDescriptor *about = av_pix_fmt_desc_get(format);
    return about == nullptr || (about->log2_chroma_w == 0 && about->log2_chroma_h == 0);
}

// The formats whose name says the range; the scaler wants it said aside.
AVPixelFormat plainFormat(AVPixelFormat format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    default:
        return format;
    }
}

bool hasFullRange(const AVFrame &frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    return frame.color_range == AVCOL_RANGE_JPEG || plainFormat(format) != format;
}

int brightness(const std::uint8_t *pixel, Picture::Pixels order)
{
    const int red = order == Picture::Pixels::Rgb ? pixel[0] : pixel[2];
    const int blue = order == Picture::Pixels::Rgb ? pixel[2] : pixel[0];
    return (299 * red + 587 * pixel[1] + 114 * blue) / 1000;
}

// The top field comes first where a frame says nothing.
bool isBottomFirst(const AVFrame &frame)
{
    return frame.interlaced_frame != 0 && frame.top_field_first == 0;
}

// The container's word where the decoder has none.
void completeColours(AVFrame &frame, const AVCodecParameters &told)
{
    frame.colorspace =
        frame.colorspace == AVCOL_SPC_UNSPECIFIED ? told.color_space : frame.colorspace;
    frame.color_trc = frame.color_trc == AVCOL_TRC_UNSPECIFIED ? told.color_trc : frame.color_trc;
    frame.color_primaries = frame.color_primaries == AVCOL_PRI_UNSPECIFIED ? told.color_primaries
                                                                           : frame.color_primaries;
    frame.color_range =
        frame.color_range == AVCOL_RANGE_UNSPECIFIED ? told.color_range : frame.color_range;
}

// What zscale needs to know and a frame leaves open. A constant
// luminance is taken for the usual one: zscale converts it from few transfers only.
void assumeColours(AVFrame &frame)
{
    const AVPixFmtDescriptor *format =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const bool isRgb = format != nullptr && (format->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const bool isOpen = frame.colorspace == AVCOL_SPC_UNSPECIFIED ||
                        frame.colorspace == AVCOL_SPC_RESERVED ||
                        frame.colorspace == AVCOL_SPC_BT2020_CL;
    if (isOpen && !isRgb) {
        frame.colorspace = AVCOL_SPC_BT2020_NCL;
    }
    if (frame.color_primaries == AVCOL_PRI_UNSPECIFIED ||
        frame.color_primaries == AVCOL_PRI_RESERVED) {
        frame.color_primaries = isHighDynamicRange(frame) ? AVCOL_PRI_BT2020 : AVCOL_PRI_BT709;
    }
    if (frame.color_trc == AVCOL_TRC_UNSPECIFIED || frame.color_trc == AVCOL_TRC_RESERVED) {
        frame.color_trc = AVCOL_TRC_BT709;
    }
}

} // namespace

PictureMaker::PictureMaker(const Film &film, Orientation orientation, int width, int height)
    : m_told(film.parameters()), m_isInterlaced(isInterlacedOrder(film.parameters().field_order)),
      m_orientation(orientation), m_width(orientation.swapsSides ? height : width),
      m_height(orientation.swapsSides ? width : height)
{
}

bool PictureMaker::hasFields(const AVFrame &frame) const
{
    return m_isInterlaced || frame.interlaced_frame != 0;
}

// What is done by filters: the fields of rare formats, and colours beyond the display's, which are
// mapped at the small size, where it costs little.
std::string PictureMaker::filtersFor(const AVFrame &frame, bool hasFieldsLeft) const
{
    std::vector<std::string> filters;
    if (hasFieldsLeft) {
        filters.push_back(std::string("estdif=mode=frame:parity=") +
                          (isBottomFirst(frame) ? "bff" : "tff"));
    }
    if (needsColourMapping(frame)) {
        filters.push_back("scale=" + std::to_string(m_width) + ':' + std::to_string(m_height) +
                          ":flags=bicubic");
        filters.emplace_back(isHighDynamicRange(frame) ? toneMapping : gamutMapping);
    }
    std::string graph;
    for (const std::string &filter : filters) {
        graph += (graph.empty() ? "" : ",") + filter;
    }
    return graph;
}

tl::expected<Picture, std::string> PictureMaker::pictureOf(const AVFrame &frame)
{
    watchdog::allow(convertLimit, "converting a picture");
    if (frame.width <= 0 || frame.height <= 0 ||
        std::int64_t{frame.width} * frame.height > largestArea) {
        return tl::make_unexpected(std::string("no such picture size"));
    }
    const FramePtr own(av_frame_clone(&frame));
    completeColours(*own, m_told);
    const bool hasFieldsLeft = hasFields(frame) && !takeOutCombs(*own, isBottomFirst(frame));
    const std::string filters = filtersFor(*own, hasFieldsLeft);
    if (filters.empty()) {
        return scaled(*own);
    }
    if (needsColourMapping(*own)) {
        assumeColours(*own);
    }
    const auto filtered = filteredFrame(*own, filters);
    return filtered ? scaled(**filtered) : tl::make_unexpected(filtered.error());
}

// Well below the stored size averages are as sharp as anything, and quicker. The quick conversion
// of pictures that keep their size skips the last pixels of rows that aren't padded to 8.
int PictureMaker::scaling(const AVFrame &frame) const
{
    if (frame.width == m_width && frame.height == m_height && m_width % 8 != 0) {
        return SWS_BICUBIC | SWS_ACCURATE_RND;
    }
    return frame.width * 2 >= m_width * 3 && frame.height * 2 >= m_height * 3 ? SWS_AREA
                                                                              : SWS_BICUBIC;
}

tl::expected<Picture, std::string> PictureMaker::scaled(const AVFrame &frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const bool fine = hasFineColours(format);
    m_scaler.reset(sws_getCachedContext(
        m_scaler.release(), frame.width, frame.height, plainFormat(format), m_width, m_height,
        outputFormat, scaling(frame) | (fine ? SWS_FULL_CHR_H_INT : 0), nullptr, nullptr, nullptr));
    if (!m_scaler) {
        return tl::make_unexpected(std::string("a format that can't be shown"));
    }
    constexpr int one = 1 << 16;
    const int *matrix = sws_getCoefficients(colourMatrix(frame));
    sws_setColorspaceDetails(m_scaler.get(), matrix, hasFullRange(frame) ? 1 : 0, matrix, 1, 0, one,
                             one);
    Picture picture{m_width, m_height, {}, Picture::Pixels::Bgrx, fine};
    picture.pixels.resize(picture.stride() * static_cast<std::size_t>(m_height));
    const std::array<std::uint8_t *, 4> planes{picture.pixels.data(), nullptr, nullptr, nullptr};
    const std::array<int, 4> strides{static_cast<int>(picture.stride()), 0, 0, 0};
    const int lines = sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height,
                                planes.data(), strides.data());
    if (lines != m_height) {
        return tl::make_unexpected(std::string("a picture that can't be scaled"));
    }
    return m_orientation.isPlain() ? std::move(picture) : oriented(picture, m_orientation);
}

bool isFlat(const Picture &picture)
{
    constexpr int step = 4;
    constexpr int near = 10;
    constexpr double most = 0.985;
    std::array<std::size_t, 256> counts{};
    std::size_t all = 0;
    for (int y = 0; y < picture.height; y += step) {
        const std::uint8_t *row = picture.row(y);
        for (int x = 0; x < picture.width; x += step, ++all) {
            ++counts[static_cast<std::size_t>(brightness(
                row + static_cast<std::size_t>(x) * picture.pixelSize(), picture.order))];
        }
    }
    // The fullest span of so many neighbouring levels.
    std::size_t within = 0;
    std::size_t fullest = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        within += counts[level] - (level > 2 * near ? counts[level - 2 * near - 1] : 0);
        fullest = std::max(fullest, within);
    }
    return static_cast<double>(fullest) >= most * static_cast<double>(all);
}

} // namespace qv
