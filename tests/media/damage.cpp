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
        changed("damage/empty.mp4", "", text(""), {.refusal = "empty"}),
        changed("damage/text.mp4", "", text(letter), {.refusal = "not a video"}),
        changed("damage/noise.mp4", "", noise(200000), {.refusal = "not a video"}),
        changed("damage/noise.mpg", "", noise(200000), {.refusal = "video"}),
        changed("damage/zeros.mov", "", zeros(200000), {.refusal = "not a video"}),
        {.name = "damage/photo.mp4",
         .from = "streams/cover.jpg",
         .expect = {.refusal = "still picture"}},
        changed("damage/table of contents.m4v", "containers/h264 aac.mp4", cut(0, 0.001),
                {.refusal = "incomplete"}),

        companion(
            made("damage/index first.mp4", "$clock $sound $x264 -c:a aac -movflags +faststart")),
        changed("damage/no index.mp4", "containers/h264 aac.mp4", cut(0, 0.7),
                {.refusal = "incomplete"}),
        // The six seconds that are there, whatever the header promises.
        changed("damage/half.mp4", "damage/index first.mp4", cut(0, 0.5), {.seconds = 6}),
        changed("damage/half.mkv", "containers/h264 ac3.mkv", cut(0, 0.5), {.seconds = 6}),
        changed("damage/half.avi", "containers/mpeg4 mp3.avi", cut(0, 0.5), {.seconds = 6}),
        changed("damage/half.wmv", "containers/wmv2 wma.wmv", cut(0, 0.5),
                {.seconds = 6, .offFrame = 0.003}),
        changed("damage/half.flv", "containers/flv1 mp3.flv", cut(0, 0.5), {.seconds = 6}),
        changed("damage/half.ogv", "containers/theora vorbis.ogv", cut(0, 0.5),
                {.seconds = 6, .within = 2}),

        companion(made("damage/slow.ts", "$clock $sound $x264 -g 50 -sc_threshold 0 -c:a mp2")),
        // 30 % of the bytes are about 30 % of the time; the first key frame after it is at 4 s.
        changed("damage/starts within a group.ts", "damage/slow.ts", cut(0.3, 1),
                {.seconds = 8.4, .clockStart = 3.6, .within = 2.75}),
        companion(made("damage/slow hevc.ts",
                       "$clock -c:v libx265 -preset ultrafast "
                       "-x265-params log-level=error:keyint=100:min-keyint=100:scenecut=0")),
        changed("damage/hevc within a group.ts", "damage/slow hevc.ts", cut(0.3, 1),
                {.seconds = 8.4, .clockStart = 3.6, .within = 2.75}),
        changed("damage/ends within a group.ts", "damage/slow.ts", cut(0, 0.6),
                {.seconds = 7.2, .within = 2.25}),
        changed("damage/starts within a group.mpg", "containers/mpeg2 mp2.mpeg", cut(0.3, 1),
                {.seconds = 8.4, .clockStart = 3.6, .offFrame = 0.34}, {.size = "720x576"}),

        made("damage/encrypted.mp4",
             "$clock $x264 -encryption_scheme cenc-aes-ctr -encryption_key "
             "00112233445566778899aabbccddeeff -encryption_kid 00112233445566778899aabbccddeeff",
             {}, {.refusal = "encrypted"}),
        changed("damage/flipped bits.ts", "containers/h264 aac.ts", flips(0.4, 0.6, 40),
                {.strays = 3}),
        changed("damage/flipped bits.mp4", "damage/index first.mp4", flips(0.4, 0.6, 40),
                {.strays = 3}),
        changed("damage/flipped bits.mkv", "containers/h264 ac3.mkv", flips(0.4, 0.6, 40),
                {.strays = 3}),
        changed("damage/flipped bits.vob", "containers/mpeg2 ac3.vob", flips(0.4, 0.6, 40),
                {.dar = "16:9", .strays = 3}, {.size = "720x576"}),
        changed("damage/hole.mp4", "damage/index first.mp4", hole(0.4, 0.6), {.strays = 3}),
        changed("damage/hole.mkv", "containers/h264 ac3.mkv", hole(0.4, 0.6), {.strays = 3}),
        changed("damage/hole.ts", "containers/h264 aac.ts", hole(0.4, 0.6), {.strays = 3}),
        changed("damage/hole.avi", "containers/mpeg4 mp3.avi", hole(0.4, 0.6), {.strays = 3}),
    };
}
