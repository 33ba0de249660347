#include "qt_thumbs/plugging.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace qv
{
namespace
{

// Demultiplexers and parsers that read nothing but the bytes handed to them.
constexpr std::array<std::string_view, 15> trustedPlugins{
    "isomp4",   "matroska", "mpegtsdemux", "mpegpsdemux",  "avi",
    "asf",      "flv",      "ogg",         "mxf",          "dv",
    "ivfparse", "y4mdec",   "realmedia",   "audioparsers", "videoparsersbad",
};
constexpr std::array<std::string_view, 5> trustedLibavDemuxers{
    "avdemux_gxf", "avdemux_mxf", "avdemux_nut", "avdemux_nsv", "avdemux_pva"};

template <std::size_t n>
bool contains(const std::array<std::string_view, n> &names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string_view typeName(const GstCaps *caps)
{
    if (caps == nullptr || gst_caps_get_size(caps) == 0) {
        return {};
    }
    return gst_structure_get_name(gst_caps_get_structure(caps, 0));
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool isTrusted(GstElementFactory *factory)
{
    return contains(trustedPlugins,
                    gst_plugin_feature_get_plugin_name(GST_PLUGIN_FEATURE(factory))) ||
           contains(trustedLibavDemuxers, GST_OBJECT_NAME(factory));
}

} // namespace

bool isFilmType(const GstCaps *caps)
{
    const std::string_view name = typeName(caps);
    constexpr std::array<std::string_view, 6> films{
        "application/mxf", "application/ogg",   "application/x-yuv4mpeg",
        "application/gxf", "application/x-3gp", "application/vnd.rn-realmedia"};
    return startsWith(name, "video/") || contains(films, name);
}

bool isBroadcast(const GstCaps *caps)
{
    const std::string_view name = typeName(caps);
    gboolean system = FALSE;
    return name == "video/mpegts" ||
           (name == "video/mpeg" &&
            gst_structure_get_boolean(gst_caps_get_structure(caps, 0), "systemstream", &system) &&
            system);
}

Plugging pluggingOf(GstElementFactory *factory)
{
    const std::string_view kind =
        gst_element_factory_get_metadata(factory, GST_ELEMENT_METADATA_KLASS);
    const auto is = [&](const char *word) { return kind.find(word) != kind.npos; };
    if (is("Network") || is("Adaptive")) {
        return Plugging::Refuse;
    }
    if (is("Demuxer") || is("Parser")) {
        return isTrusted(factory) ? Plugging::Use : Plugging::Refuse;
    }
    return Plugging::UseForPictures;
}

bool isVideo(const GstCaps *caps)
{
    const std::string_view name = typeName(caps);
    return startsWith(name, "video/") || startsWith(name, "image/");
}

bool isAudio(const GstCaps *caps)
{
    return startsWith(typeName(caps), "audio/");
}

} // namespace qv
