#include "qt_thumbs/decoders.h"

#include "qt_thumbs/handles.h"
#include "qt_thumbs/json_line.h"

#include <memory>

namespace qv
{
namespace
{

struct Decoder {
    const char *code;
    const char *caps; // of what it would have to take
};

constexpr Decoder decoders[] = {
    {"WMV ", "video/x-wmv, wmvversion=(int)3"},
    {"VP60", "video/x-vp6"},
    {"ICOD", "video/x-apple-intermediate-codec"},
    {"APCH", "video/x-prores, variant=(string)hq"},
    {"M2V ", "video/mpeg, mpegversion=(int)2, systemstream=(boolean)false"},
    {"MTS ", "video/x-h264, stream-format=(string)byte-stream, alignment=(string)au"},
};

bool isInstalled(GList *installed, const char *capsText)
{
    const CapsPtr caps(gst_caps_from_string(capsText));
    const FeaturesPtr fitting(
        gst_element_factory_list_filter(installed, caps.get(), GST_PAD_SINK, FALSE));
    return fitting != nullptr;
}

} // namespace

void printDecoders()
{
    const FeaturesPtr installed(gst_element_factory_list_get_elements(
        GST_ELEMENT_FACTORY_TYPE_DECODER | GST_ELEMENT_FACTORY_TYPE_MEDIA_VIDEO,
        GST_RANK_MARGINAL));
    JsonLine line;
    const std::unique_ptr<char, decltype(&g_free)> version(gst_version_string(), g_free);
    line.add("version", version.get());
    for (const Decoder &decoder : decoders) {
        line.add(decoder.code, isInstalled(installed.get(), decoder.caps));
    }
    line.print();
}

} // namespace qv
