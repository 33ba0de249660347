#include "qt_thumbs/probe.h"

#include "qt_thumbs/format_words.h"
#include "qt_thumbs/json_line.h"
#include "qt_thumbs/movie.h"
#include "qt_thumbs/picture.h"
#include "qt_thumbs/plugging.h"

#include <climits>
#include <cstdio>
#include <numeric>

namespace qv
{
namespace
{

struct Ratio {
    std::int64_t over = 0;
    std::int64_t under = 0;
    bool isKnown() const { return over > 0 && under > 0; }
};

Ratio reduced(Ratio ratio)
{
    const std::int64_t divisor = std::gcd(ratio.over, ratio.under);
    return {ratio.over / divisor, ratio.under / divisor};
}

std::string text(const Ratio &ratio)
{
    return std::to_string(ratio.over) + ':' + std::to_string(ratio.under);
}

Ratio ratioField(const GstCaps *caps, const char *field)
{
    int over = 0;
    int under = 0;
    gst_structure_get_fraction(gst_caps_get_structure(caps, 0), field, &over, &under);
    return {over, under};
}

std::string key(char kind, int index, const char *field)
{
    return kind + std::to_string(index) + '_' + field;
}

void addKnown(JsonLine &line, const std::string &name, int value)
{
    if (value > 0) {
        line.add(name, value);
    }
}

// The letter that a stream header would carry; 0 when nothing tells.
char fieldCode(const GstVideoInfo &info, const GstBuffer *picture)
{
    const bool mixed = info.interlace_mode == GST_VIDEO_INTERLACE_MODE_MIXED;
    if (!GST_VIDEO_INFO_IS_INTERLACED(&info) ||
        (mixed && !GST_BUFFER_FLAG_IS_SET(picture, GST_VIDEO_BUFFER_FLAG_INTERLACED))) {
        return 'p';
    }
    switch (GST_VIDEO_INFO_FIELD_ORDER(&info)) {
    case GST_VIDEO_FIELD_ORDER_TOP_FIELD_FIRST:
        return 't';
    case GST_VIDEO_FIELD_ORDER_BOTTOM_FIELD_FIRST:
        return 'b';
    default:
        return GST_BUFFER_FLAG_IS_SET(picture, GST_VIDEO_BUFFER_FLAG_TFF) ? 't' : 'b';
    }
}

void addSize(JsonLine &line, const std::string &prefix, int width, int height)
{
    addKnown(line, prefix + "width", width);
    addKnown(line, prefix + "height", height);
}

// As it is looked at: what is turned sideways has its width and height exchanged.
void addShownVideo(JsonLine &line, const Movie &movie)
{
    GstVideoInfo info;
    const Frame &frame = movie.firstFrame();
    if (!frame.caps || !gst_video_info_from_caps(&info, frame.caps.get()) || info.width <= 0 ||
        info.height <= 0) {
        return;
    }
    Ratio pixel{info.par_n, info.par_d};
    pixel = pixel.isKnown() ? reduced(pixel) : Ratio{1, 1};
    int width = info.width;
    int height = info.height;
    if (isTurnedSideways(movie.orientation())) {
        std::swap(width, height);
        std::swap(pixel.over, pixel.under);
    }
    const std::int64_t shownWidth = (width * pixel.over + pixel.under / 2) / pixel.under;
    const std::string shape = text(reduced({width * pixel.over, height * pixel.under}));
    addSize(line, "v0_", width, height);
    line.add("v0_par", text(pixel));
    line.add("v0_dar", shape);
    line.add("w_dar", shape);
    if (shownWidth > 0 && shownWidth <= INT_MAX) {
        addSize(line, "w_", static_cast<int>(shownWidth), height);
    }
    line.add("v0_fieldcode", std::string(1, fieldCode(info, frame.picture.get())));
}

void addVideo(JsonLine &line, const GstCaps *caps, int index)
{
    line.add(key('v', index, "codec"), codecWord(caps));
    const Ratio rate = ratioField(caps, "framerate");
    if (rate.isKnown()) {
        line.add(key('v', index, "fps"),
                 static_cast<double>(rate.over) / static_cast<double>(rate.under));
    }
    if (index > 0) {
        addSize(line, key('v', index, ""), intField(caps, "width"), intField(caps, "height"));
    }
}

void addAudio(JsonLine &line, const GstCaps *caps, int index)
{
    line.add(key('a', index, "codec"), codecWord(caps));
    addKnown(line, key('a', index, "rate"), intField(caps, "rate"));
    addKnown(line, key('a', index, "channels"), intField(caps, "channels"));
    addKnown(line, key('a', index, "bits"), bitsPerSample(caps));
}

void addContainer(JsonLine &line, const Movie &movie)
{
    line.add("wrapper", containerWord(movie.container()));
    const double duration = movie.duration().value_or(0);
    if (duration > 0 && duration < INT_MAX) {
        line.add("w_seconds", duration);
    }
    if (duration >= 1 && duration < INT_MAX) {
        line.add("w_duration", static_cast<int>(duration));
    }
}

} // namespace

bool probe(const std::string &source)
{
    const auto opened = Movie::open(source);
    if (!opened) {
        std::fprintf(stderr, "qtThumbs: %s\n", opened.error().c_str());
        return false;
    }
    const Movie &movie = **opened;
    JsonLine line;
    addContainer(line, movie);
    addShownVideo(line, movie);
    int videos = 0;
    int audios = 0;
    for (const GstCaps *caps : movie.streams()) {
        if (isVideo(caps)) {
            addVideo(line, caps, videos++);
        } else if (isAudio(caps)) {
            addAudio(line, caps, audios++);
        }
    }
    line.print();
    return true;
}

} // namespace qv
