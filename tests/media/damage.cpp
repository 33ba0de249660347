// Files that something happened to.
#include "media/source.h"

#include "media/changes.h"

namespace
{

const char *const letter = "Dear Anna,\nthe film of your party is on the disk that I sent you.\n";

} // namespace

Sources damageSources()
{
    return {
        {.name = "damage/empty.mp4", .change = text(""), .expect = {.refusal = "empty"}},
        {.name = "damage/text.mp4", .change = text(letter), .expect = {.refusal = "not a video"}},
        {.name = "damage/noise.mp4", .change = noise(200000), .expect = {.refusal = "not a video"}},
        {.name = "damage/noise.mpg", .change = noise(200000), .expect = {.refusal = "video"}},
        {.name = "damage/zeros.mov", .change = zeros(200000), .expect = {.refusal = "not a video"}},
        // ffmpeg takes it for a film of one frame, and so does the sheet.
        {.name = "damage/photo.mp4",
         .from = "streams/cover.jpg",
         .picture = {.size = "600x600", .seconds = 0, .clock = false}},
        {.name = "damage/table of contents.m4v",
         .from = "containers/h264 aac.mp4",
         .change = cut(0, 0.001),
         .expect = {.refusal = "incomplete"}},

        {.name = "damage/index first.mp4",
         .recipe = "$clock $sound $x264 -c:a aac -movflags +faststart",
         .companion = true},
        {.name = "damage/no index.mp4",
         .from = "containers/h264 aac.mp4",
         .change = cut(0, 0.7),
         .expect = {.refusal = "incomplete"}},
        // The six seconds that are there, whatever the header promises.
        {.name = "damage/half.mp4",
         .from = "damage/index first.mp4",
         .change = cut(0, 0.5),
         .expect = {.seconds = 6}},
        {.name = "damage/half.mkv",
         .from = "containers/h264 ac3.mkv",
         .change = cut(0, 0.5),
         .expect = {.seconds = 6}},
        {.name = "damage/half.avi",
         .from = "containers/mpeg4 mp3.avi",
         .change = cut(0, 0.5),
         .expect = {.seconds = 6}},
        {.name = "damage/half.wmv",
         .from = "containers/wmv2 wma.wmv",
         .change = cut(0, 0.5),
         .expect = {.seconds = 6}},
        {.name = "damage/half.flv",
         .from = "containers/flv1 mp3.flv",
         .change = cut(0, 0.5),
         .expect = {.seconds = 6}},
        {.name = "damage/half.ogv",
         .from = "containers/theora vorbis.ogv",
         .change = cut(0, 0.5),
         .expect = {.seconds = 6, .within = 2}},

        {.name = "damage/slow.ts",
         .recipe = "$clock $sound $x264 -g 50 -sc_threshold 0 -c:a mp2",
         .companion = true},
        // 30 % of the bytes are about 30 % of the time; the first key frame after it is at 4 s.
        {.name = "damage/starts within a group.ts",
         .from = "damage/slow.ts",
         .change = cut(0.3, 1),
         .expect = {.seconds = 8.4, .clockStart = 3.6, .within = 2.75}},
        {.name = "damage/slow hevc.ts",
         .recipe = "$clock -c:v libx265 -preset ultrafast "
                   "-x265-params log-level=error:keyint=100:min-keyint=100:scenecut=0",
         .companion = true},
        {.name = "damage/hevc within a group.ts",
         .from = "damage/slow hevc.ts",
         .change = cut(0.3, 1),
         .expect = {.seconds = 8.4, .clockStart = 3.6, .within = 2.75}},
        {.name = "damage/ends within a group.ts",
         .from = "damage/slow.ts",
         .change = cut(0, 0.6),
         .expect = {.seconds = 7.2, .within = 2.25}},
        {.name = "damage/starts within a group.mpg",
         .from = "containers/mpeg2 mp2.mpeg",
         .change = cut(0.3, 1),
         .picture = {.size = "720x576"},
         .expect = {.seconds = 8.4, .clockStart = 3.6}},

        {.name = "damage/flipped bits.ts",
         .from = "containers/h264 aac.ts",
         .change = flips(0.4, 0.6, 40),
         .expect = {.strays = 3}},
        {.name = "damage/flipped bits.mp4",
         .from = "damage/index first.mp4",
         .change = flips(0.4, 0.6, 40),
         .expect = {.strays = 3}},
        {.name = "damage/flipped bits.mkv",
         .from = "containers/h264 ac3.mkv",
         .change = flips(0.4, 0.6, 40),
         .expect = {.strays = 3}},
        {.name = "damage/flipped bits.vob",
         .from = "containers/mpeg2 ac3.vob",
         .change = flips(0.4, 0.6, 40),
         .picture = {.size = "720x576"},
         .expect = {.dar = "16:9", .strays = 3}},
        {.name = "damage/hole.mp4",
         .from = "damage/index first.mp4",
         .change = hole(0.4, 0.6),
         .expect = {.strays = 3}},
        {.name = "damage/hole.mkv",
         .from = "containers/h264 ac3.mkv",
         .change = hole(0.4, 0.6),
         .expect = {.strays = 3}},
        {.name = "damage/hole.ts",
         .from = "containers/h264 aac.ts",
         .change = hole(0.4, 0.6),
         .expect = {.strays = 3}},
        {.name = "damage/hole.avi",
         .from = "containers/mpeg4 mp3.avi",
         .change = hole(0.4, 0.6),
         .expect = {.strays = 3}},
    };
}
