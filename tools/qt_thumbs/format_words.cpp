#include "qt_thumbs/format_words.h"

#include <gst/audio/audio.h>

#include <algorithm>
#include <cctype>
#include <string_view>

namespace qv
{
namespace
{

struct Word {
    const char *caps;
    const char *word;
};

constexpr Word containers[] = {
    {"video/quicktime", "mov"},
    {"video/x-matroska", "matroska"},
    {"video/webm", "webm"},
    {"video/mpegts", "mpegts"},
    {"video/x-msvideo", "avi"},
    {"video/x-ms-asf", "asf"},
    {"video/x-flv", "flv"},
    {"application/ogg", "ogg"},
    {"video/ogg", "ogg"},
    {"application/mxf", "mxf"},
    {"video/x-dv", "dv"},
    {"application/vnd.rn-realmedia", "rm"},
    {"application/x-yuv4mpeg", "yuv4mpegpipe"},
    {"video/x-ivf", "ivf"},
    {"video/mpeg, systemstream=(boolean)true", "mpeg"},
};

// The first that fits, so versions stand before what they are versions of.
constexpr Word codecs[] = {
    {"video/x-prores, variant=(string)standard", "apcn"},
    {"video/x-prores, variant=(string)hq", "apch"},
    {"video/x-prores, variant=(string)lt", "apcs"},
    {"video/x-prores, variant=(string)proxy", "apco"},
    {"video/x-prores, variant=(string)4444", "ap4h"},
    {"video/x-prores, variant=(string)4444xq", "ap4x"},
    {"video/x-prores", "prores"},
    {"video/x-apple-intermediate-codec", "icod"},
    {"video/x-h264", "h264"},
    {"video/x-h265", "hevc"},
    {"video/mpeg, mpegversion=(int)1", "mpeg1video"},
    {"video/mpeg, mpegversion=(int)2", "mpeg2video"},
    {"video/mpeg, mpegversion=(int)4", "mpeg4"},
    {"video/x-divx", "mpeg4"},
    {"video/x-h263", "h263"},
    {"video/x-wmv, format=(string)WVC1", "vc1"},
    {"video/x-wmv, wmvversion=(int)1", "wmv1"},
    {"video/x-wmv, wmvversion=(int)2", "wmv2"},
    {"video/x-wmv, wmvversion=(int)3", "wmv3"},
    {"video/x-svq, svqversion=(int)1", "svq1"},
    {"video/x-svq, svqversion=(int)3", "svq3"},
    {"video/x-dv", "dvvideo"},
    {"video/x-raw", "rawvideo"},
    {"image/jpeg", "mjpeg"},
    {"image/x-jpc", "jpeg2000"},
    {"audio/mpeg, mpegversion=(int)1, layer=(int)3", "mp3"},
    {"audio/mpeg, mpegversion=(int)1, layer=(int)1", "mp1"},
    {"audio/mpeg, mpegversion=(int)1", "mp2"},
    {"audio/mpeg", "aac"},
    {"audio/x-ac3", "ac3"},
    {"audio/x-eac3", "eac3"},
    {"audio/x-alaw", "pcm_alaw"},
    {"audio/x-mulaw", "pcm_mulaw"},
};

bool fits(const GstCaps *caps, const char *pattern)
{
    GstCaps *parsed = gst_caps_from_string(pattern);
    const bool fitting = parsed != nullptr && gst_caps_is_subset(caps, parsed);
    if (parsed != nullptr) {
        gst_caps_unref(parsed);
    }
    return fitting;
}

template <std::size_t n> const char *wordIn(const Word (&words)[n], const GstCaps *caps)
{
    const auto found = std::find_if(std::begin(words), std::end(words),
                                    [&](const Word &word) { return fits(caps, word.caps); });
    return found == std::end(words) ? nullptr : found->word;
}

const GstAudioFormatInfo *sampleFormat(const GstCaps *caps)
{
    const GstStructure *structure = gst_caps_get_structure(caps, 0);
    const char *name = gst_structure_get_string(structure, "format");
    if (name == nullptr || !gst_structure_has_name(structure, "audio/x-raw")) {
        return nullptr;
    }
    const GstAudioFormat format = gst_audio_format_from_string(name);
    return format == GST_AUDIO_FORMAT_UNKNOWN ? nullptr : gst_audio_format_get_info(format);
}

// "S16LE" gives "pcm_s16le".
std::string sampleWord(const GstAudioFormatInfo *format)
{
    std::string word = std::string("pcm_") + format->name;
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word;
}

// "video/x-vp9" gives "vp9".
std::string ownName(const GstCaps *caps)
{
    const std::string_view name = gst_structure_get_name(gst_caps_get_structure(caps, 0));
    const std::string_view sub = name.substr(name.find('/') + 1);
    return std::string(sub.substr(0, 2) == "x-" ? sub.substr(2) : sub);
}

} // namespace

std::string containerWord(const GstCaps *caps)
{
    const char *word = wordIn(containers, caps);
    return word != nullptr ? word : codecWord(caps);
}

std::string codecWord(const GstCaps *caps)
{
    if (const GstAudioFormatInfo *format = sampleFormat(caps)) {
        return sampleWord(format);
    }
    const char *word = wordIn(codecs, caps);
    return word != nullptr ? word : ownName(caps);
}

int bitsPerSample(const GstCaps *caps)
{
    const GstAudioFormatInfo *format = sampleFormat(caps);
    return format != nullptr ? format->depth : 0;
}

int intField(const GstCaps *caps, const char *field)
{
    int value = 0;
    gst_structure_get_int(gst_caps_get_structure(caps, 0), field, &value);
    return value;
}

} // namespace qv
