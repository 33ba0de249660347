// Several streams, none, covers and chapters.
#include "media/source.h"

#include "media/changes.h"

namespace
{

// ffmpeg cuts long titles in bytes, here through a character.
const QByteArray chapterList =
    ";FFMETADATA1\ncreation_time=2024-05-01T12:34:56Z\n"
    "[CHAPTER]\nTIMEBASE=1/1\nSTART=0\nEND=5\ntitle=" +
    QByteArray("é").repeated(200) +
    "\n[CHAPTER]\nTIMEBASE=1/1\nSTART=5\nEND=12\ntitle=No \x1b[1mvideo\n";
const char *const subtitleLines = "1\n00:00:01,000 --> 00:00:03,000\nFirst\n\n"
                                  "2\n00:00:05,000 --> 00:00:07,000\nSecond\n\n";

} // namespace

Sources streamSources()
{
    return {
        companion(made("streams/cover.jpg", "-f lavfi -i testsrc=s=600x600 -frames:v 1 -q:v 3")),
        companion(changed("streams/chapters.txt", "", text(chapterList))),
        companion(changed("streams/lines.srt", "", text(subtitleLines))),

        remade("streams/chapters.mp4", "streams/chapters.txt", "$clock $from -map_metadata 1 $x264",
               {}, {.keys = "chapters chapterTitles w_created"}),
        remade("streams/chapters.mkv", "streams/chapters.txt",
               "$clock $sound $from -map_metadata 2 $x264 -c:a aac", {}, {.keys = "chapters"}),
        remade("streams/two languages.mkv", "streams/lines.srt",
               "$clock $sound $sound $from $from -map 0 -map 1 -map 2 -map 3 -map 4 $x264 "
               "-c:a ac3 -c:s srt -metadata:s:a:0 language=fre -metadata:s:a:1 language=eng",
               {}, {.keys = "a0_lang a1_lang a1_channels s0_codec s1_codec"}),
        remade("streams/subtitles.mp4", "streams/lines.srt",
               "$clock $sound $from $x264 -c:a aac -c:s mov_text -metadata:s:a "
               "language=fre",
               {}, {.keys = "a0_codec a0_lang s0_codec"}),
        companion(made("streams/sound.mkv", "$clock $sound $x264 -c:a aac")),
        companion(made("streams/sound.avi", "$clock $sound -c:v mpeg4 -g 25 -c:a libmp3lame")),
        changed("streams/unknown sound.mkv", "streams/sound.mkv", replaced("A_AAC", "A_XYZ")),
        changed("streams/unknown sound.avi", "streams/sound.avi",
                replaced(QByteArray::fromHex("73747266 1E000000 5500"),
                         QByteArray::fromHex("73747266 1E000000 7777"))),
        made("streams/audio before video.ts", "$clock $sound -map 1 -map 0 $x264 -c:a mp2"),
        made("streams/dvb subtitles.ts",
             "$clock $sound $x264 -c:a mp2 -metadata service_name=Canal", {}, {.keys = "a0_codec"}),
        made("streams/data track.mov", "$clock $sound $x264 -c:a aac -timecode 01:00:00:00"),

        // The one marked as default is shown, else the larger one.
        made("streams/small default video first.mkv",
             "-f lavfi -i color=s=160x90:d=12 $clock -map 0 -map 1 $x264",
             {.size = "160x90", .clock = false}),
        made("streams/small video last.mp4",
             "-f lavfi -i color=s=160x90:d=12 $clock -map 1 -map 0 $x264"),
        made("streams/two programmes.ts",
             "-f lavfi -i color=s=160x90:d=12 $clock -map 0 -map 1 $x264 "
             "-program title=small:st=0 -program title=large:st=1"),

        made("streams/audio only.mp4", "$sound -c:a aac", {}, {.refusal = "no video"}),
        made("streams/audio only.ogg", "$sound -c:a libvorbis", {}, {.refusal = "no video"}),
        made("streams/audio only.mkv", "$sound -c:a ac3", {}, {.refusal = "no video"}),
        remade("streams/audio with cover.mp4", "streams/cover.jpg",
               "$sound $from -map 0 -map 1 -c:a aac -c:v copy -disposition:v attached_pic", {},
               {.refusal = "no video"}),
        remade("streams/audio with cover.mkv", "streams/cover.jpg",
               "$sound -map 0 -c:a ac3 -attach {from} -metadata:s:t mimetype=image/jpeg "
               "-metadata:s:t filename=cover.jpg",
               {}, {.refusal = "no video"}),
        remade("streams/cover.mp4", "streams/cover.jpg",
               "$clock $sound $from -map 0 -map 1 -map 2 $x264 -c:a aac -c:v:1 copy "
               "-disposition:v:1 attached_pic"),
        changed("streams/cover before the video.mp4", "streams/cover.mp4", coverFirst()),
        remade("streams/cover.mkv", "streams/cover.jpg",
               "$clock $sound $x264 -c:a ac3 -attach {from} -metadata:s:t mimetype=image/jpeg "
               "-metadata:s:t filename=cover.jpg"),
    };
}
