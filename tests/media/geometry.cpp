// Sizes, aspects, rotations and fields.
#include "media/source.h"

namespace
{

// A camera held upright: the picture lies on its side in the file.
constexpr Picture portrait{.size = "180x320"};
constexpr Picture pal{.size = "720x576"};
constexpr Picture palFields{.size = "720x576", .rate = "50"};

Source plain(const char *name, const char *recipe, const char *size)
{
    return {.name = name, .recipe = recipe, .picture = {.size = size, .clock = false}};
}

Source rotated(const char *name, const char *from, const char *recipe, Picture picture)
{
    return {.name = name, .recipe = recipe, .from = from, .picture = picture};
}

} // namespace

Sources geometrySources()
{
    return {
        plain("geometry/1x1.mkv", "$clock -c:v ffv1", "1x1"),
        plain("geometry/2x2.avi", "$clock -c:v mpeg4", "2x2"),
        plain("geometry/17x31.webm",
              "$clock -c:v libvpx-vp9 -pix_fmt yuv420p -deadline realtime -cpu-used 8", "17x31"),
        plain("geometry/4096x16.mp4", "$clock $x264", "4096x16"),
        plain("geometry/96x1440.mkv", "$clock $x264", "96x1440"),
        // Its sheet would be a hundred times as high as wide.
        {.name = "geometry/16x4096.mkv",
         .recipe = "$clock $x264",
         .picture = {.size = "16x4096", .clock = false},
         .expect = {.refusal = "pixels high"}},
        {.name = "geometry/321x181.mkv",
         .recipe = "$clock $x264 -pix_fmt yuv444p",
         .picture = {.size = "321x181"}},
        {.name = "geometry/1080 lines.mp4",
         .recipe = "$clock $x264 -g 10",
         .picture = {.size = "1920x1080", .rate = "10"}},
        {.name = "geometry/7680x4320.mp4",
         .recipe = "$clock $x264 -preset ultrafast",
         .picture = {.size = "7680x4320", .rate = "1", .seconds = 2, .clock = false}},
        {.name = "geometry/portrait.mp4", .recipe = "$clock $x264", .picture = portrait},

        {.name = "geometry/pal 4 by 3.mpg",
         .recipe = "$clock -c:v mpeg2video -b:v 2M -g 12 -aspect 4:3",
         .picture = pal,
         .expect = {.dar = "4:3"}},
        {.name = "geometry/pal 16 by 9.ts",
         .recipe = "$clock -c:v mpeg2video -b:v 2M -g 12 -aspect 16:9",
         .picture = pal,
         .expect = {.dar = "16:9"}},
        {.name = "geometry/ntsc 16 by 9.mkv",
         .recipe = "$clock -c:v mpeg2video -b:v 2M -g 15 -aspect 16:9",
         .picture = {.size = "720x480", .rate = "30000/1001"},
         .expect = {.dar = "16:9"}},
        {.name = "geometry/cinema.mp4",
         .recipe = "$clock $x264 -aspect 2.35",
         .picture = pal,
         .expect = {.dar = "235:100"}},
        {.name = "geometry/narrow pixels.mov",
         .recipe = "$clock $x264 -vf setsar=3/4",
         .picture = {.size = "1440x480"},
         .expect = {.dar = "9:4"}},

        // ffmpeg 5.1 writes its rotate=90 as a display matrix that turns to the left.
        {.name = "geometry/lying left.mp4",
         .recipe = "$clock -vf transpose=clock $x264",
         .picture = portrait,
         .companion = true},
        {.name = "geometry/lying right.mp4",
         .recipe = "$clock -vf transpose=cclock $x264",
         .picture = portrait,
         .companion = true},
        {.name = "geometry/upside down.mp4",
         .recipe = "$clock -vf hflip,vflip $x264",
         .companion = true},
        {.name = "geometry/anamorphic lying.mp4",
         .recipe = "$clock -vf transpose=clock,setsar=64/45 $x264",
         .picture = {.size = "576x720"},
         .companion = true},
        rotated("geometry/rotated 90.mp4", "geometry/lying left.mp4",
                "$from -c copy -metadata:s:v rotate=90", portrait),
        rotated("geometry/rotated 90.mov", "geometry/lying left.mp4",
                "$from -c copy -metadata:s:v rotate=90", portrait),
        rotated("geometry/rotated 180.mp4", "geometry/upside down.mp4",
                "$from -c copy -metadata:s:v rotate=180", {}),
        rotated("geometry/rotated 270.mp4", "geometry/lying right.mp4",
                "$from -c copy -metadata:s:v rotate=270", portrait),
        rotated("geometry/rotated -90.mov", "geometry/lying right.mp4",
                "$from -c copy -metadata:s:v rotate=-90", portrait),
        {.name = "geometry/rotated anamorphic.mp4",
         .recipe = "$from -c copy -metadata:s:v rotate=90",
         .from = "geometry/anamorphic lying.mp4",
         .picture = {.size = "576x720"},
         .expect = {.dar = "9:16"}},
        // A tag that is no display matrix turns nothing.
        {.name = "geometry/rotate tag.mkv", .recipe = "$clock $x264 -metadata:s:v rotate=90"},

        {.name = "geometry/top first.mpg",
         .recipe = "$clock -vf tinterlace=interleave_top -c:v mpeg2video -b:v 3M -g 12 "
                   "-flags +ildct+ilme -top 1",
         .picture = palFields,
         .expect = {.fields = "top field first"}},
        {.name = "geometry/bottom first.ts",
         .recipe = "$clock -vf tinterlace=interleave_bottom -c:v mpeg2video -b:v 3M -g 12 "
                   "-flags +ildct+ilme -top 0",
         .picture = palFields,
         .expect = {.fields = "bottom field first"}},
        {.name = "geometry/top first.mp4",
         .recipe = "$clock -vf tinterlace=interleave_top $x264 -flags +ildct+ilme "
                   "-x264-params tff=1",
         .picture = palFields,
         .expect = {.fields = "top field first"}},
        {.name = "geometry/bottom first.mkv",
         .recipe = "$clock -vf tinterlace=interleave_bottom $x264 -flags +ildct+ilme "
                   "-x264-params bff=1",
         .picture = palFields,
         .expect = {.fields = "bottom field first"}},
        {.name = "geometry/top first prores.mov",
         .recipe = "$clock -vf tinterlace=interleave_top -c:v prores_ks -profile:v 0 "
                   "-flags +ildct+ilme -field_order tt",
         .picture = {.size = "720x576", .rate = "50", .seconds = 4},
         .expect = {.fields = "top field first"}},
        {.name = "geometry/bottom first.dv",
         .recipe = "$clock -vf tinterlace=interleave_bottom -c:v dvvideo -pix_fmt yuv420p",
         .picture = {.size = "720x576", .rate = "50", .seconds = 3},
         .expect = {.fields = "bottom field first"}},
    };
}
