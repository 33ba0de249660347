// Names that are hard on whoever prints, escapes or decodes them, wrong extensions, and the folders
// of recorders and camcorders.
#include "media/source.h"

#include "media/changes.h"

namespace
{

constexpr const char *base = "containers/h264 aac.mp4";

Source named(const char *title, const char *name)
{
    return {.name = QByteArray("names/") + name, .from = base, .title = title};
}

const char *const recorderList = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<plist version=\"1.0\">\n<dict>\n"
                                 "\t<key>actual duration</key>\n\t<real>12.000000</real>\n"
                                 "</dict>\n</plist>\n";

// One clip mark: clip 3, 17 May 2009, 14:23:05.
const QByteArray clipMark = QByteArray::fromHex("ffff1e2000031e20090517142305");

} // namespace

Sources nameSources()
{
    return {
        named("blanks", "  two  blanks .mp4"),
        named("quotes", "it's \"quoted\" `here`.mp4"),
        named("percent signs", "100%d of %1 %s%n.mp4"),
        named("shell words", "$(touch x);&|<>*?[a].mp4"),
        named("backslash", "back\\slash\\n.mp4"),
        named("colon", "file:one,two=three.mp4"),
        named("protocol", "concat:a|b.mp4"),
        named("newline", "two\nlines.mp4"),
        named("leading dash", "-i.mp4"),
        named("hidden", ".hidden.mp4"),
        named("cyrillic", "Кино и дети.mp4"),
        named("cjk", "家族旅行 東京.mp4"),
        named("arabic", "فيلم العائلة.mp4"),
        named("emoji", "🎬 party 👨‍👩‍👧.mp4"),
        named("decomposed accents", "E\xCC\x81te\xCC\x81.mp4"),
        named("latin 1 bytes", "caf\xE9 \xFF.mp4"),
        named("words of failure", "Invalid data found, no video, Error.mp4"),
        named("number pattern", "img%03d.mp4"),
        {.name = "names/" + QByteArray(250, 'n') + ".mp4", .from = base, .title = "255 bytes"},
        named("upper case", "CLIP.MP4"),
        {.name = "names/really an mp4.avi", .from = base},
        {.name = "names/really an mkv.mp4", .from = "containers/h264 ac3.mkv"},
        {.name = "names/really a ts.mpg", .from = "containers/h264 aac.ts"},

        {.name = "names/Evening News.eyetv/000000000a1b2c3d.mpg",
         .from = "containers/mpeg1 mp2.mpg",
         .picture = {.size = "352x288"},
         .title = "recorder bundle"},
        companion(
            changed("names/Evening News.eyetv/000000000a1b2c3d.eyetvr", "", text(recorderList))),
        {.name = "names/card/AVCHD/BDMV/STREAM/00003.MTS",
         .from = "containers/h264 pcm.MTS",
         .title = "camcorder card"},
        companion(changed("names/card/AVCHD/BDMV/PLAYLIST/00000.MPL", "", text(clipMark))),
    };
}
