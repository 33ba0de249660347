// Several streams, none, covers and chapters.
#include "media/source.h"

#include "media/changes.h"

namespace
{

const char *const chapterList = ";FFMETADATA1\n"
                                "[CHAPTER]\nTIMEBASE=1/1\nSTART=0\nEND=5\ntitle=Opening\n"
                                "[CHAPTER]\nTIMEBASE=1/1\nSTART=5\nEND=12\ntitle=No video\n";
const char *const subtitleLines = "1\n00:00:01,000 --> 00:00:03,000\nFirst\n\n"
                                  "2\n00:00:05,000 --> 00:00:07,000\nSecond\n\n";

} // namespace

Sources streamSources()
{
    return {
        {.name = "streams/cover.jpg",
         .recipe = "-f lavfi -i testsrc=s=600x600 -frames:v 1 -q:v 3",
         .companion = true},
        {.name = "streams/chapters.txt", .change = text(chapterList), .companion = true},
        {.name = "streams/lines.srt", .change = text(subtitleLines), .companion = true},

        {.name = "streams/chapters.mp4",
         .recipe = "$clock $from -map_metadata 1 $x264",
         .from = "streams/chapters.txt",
         .expect = {.keys = "chapters"}},
        {.name = "streams/chapters.mkv",
         .recipe = "$clock $sound $from -map_metadata 2 $x264 -c:a aac",
         .from = "streams/chapters.txt",
         .expect = {.keys = "chapters"}},
        {.name = "streams/two languages.mkv",
         .recipe = "$clock $sound $sound $from $from -map 0 -map 1 -map 2 -map 3 -map 4 $x264 "
                   "-c:a ac3 -c:s srt -metadata:s:a:0 language=fre -metadata:s:a:1 language=eng",
         .from = "streams/lines.srt",
         .expect = {.keys = "a1_codec s0_codec s1_codec"}},
        {.name = "streams/subtitles.mp4",
         .recipe = "$clock $sound $from $x264 -c:a aac -c:s mov_text -metadata:s:a "
                   "language=fre",
         .from = "streams/lines.srt",
         .expect = {.keys = "a0_codec a0_lang s0_codec"}},
        {.name = "streams/audio before video.ts",
         .recipe = "$clock $sound -map 1 -map 0 $x264 -c:a mp2"},
        {.name = "streams/dvb subtitles.ts",
         .recipe = "$clock $sound $x264 -c:a mp2 -metadata service_name=Canal",
         .expect = {.keys = "a0_codec"}},
        {.name = "streams/data track.mov",
         .recipe = "$clock $sound $x264 -c:a aac -timecode 01:00:00:00"},

        // The one marked as default is shown, else the larger one.
        {.name = "streams/small default video first.mkv",
         .recipe = "-f lavfi -i color=s=160x90:d=12 $clock -map 0 -map 1 $x264",
         .picture = {.size = "160x90", .clock = false}},
        {.name = "streams/small video last.mp4",
         .recipe = "-f lavfi -i color=s=160x90:d=12 $clock -map 1 -map 0 $x264"},
        {.name = "streams/two programmes.ts",
         .recipe = "-f lavfi -i color=s=160x90:d=12 $clock -map 0 -map 1 $x264 "
                   "-program title=small:st=0 -program title=large:st=1"},

        {.name = "streams/audio only.mp4",
         .recipe = "$sound -c:a aac",
         .expect = {.refusal = "no video"}},
        {.name = "streams/audio only.ogg",
         .recipe = "$sound -c:a libvorbis",
         .expect = {.refusal = "no video"}},
        {.name = "streams/audio only.mkv",
         .recipe = "$sound -c:a ac3",
         .expect = {.refusal = "no video"}},
        {.name = "streams/audio with cover.mp4",
         .recipe = "$sound $from -map 0 -map 1 -c:a aac -c:v copy -disposition:v attached_pic",
         .from = "streams/cover.jpg",
         .expect = {.refusal = "no video"}},
        {.name = "streams/audio with cover.mkv",
         .recipe = "$sound -map 0 -c:a ac3 -attach {from} -metadata:s:t mimetype=image/jpeg "
                   "-metadata:s:t filename=cover.jpg",
         .from = "streams/cover.jpg",
         .expect = {.refusal = "no video"}},
        {.name = "streams/cover.mp4",
         .recipe = "$clock $sound $from -map 0 -map 1 -map 2 $x264 -c:a aac -c:v:1 copy "
                   "-disposition:v:1 attached_pic",
         .from = "streams/cover.jpg"},
        {.name = "streams/cover before the video.mp4",
         .from = "streams/cover.mp4",
         .change = coverFirst()},
        {.name = "streams/cover.mkv",
         .recipe = "$clock $sound $x264 -c:a ac3 -attach {from} -metadata:s:t mimetype=image/jpeg "
                   "-metadata:s:t filename=cover.jpg",
         .from = "streams/cover.jpg"},
    };
}
