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
    return made(name, recipe, {.size = size, .clock = false});
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
        made("geometry/16x4096.mkv", "$clock $x264", {.size = "16x4096", .clock = false}),
        made("geometry/321x181.mkv", "$clock $x264 -pix_fmt yuv444p", {.size = "321x181"}),
        made("geometry/1080 lines.mp4", "$clock $x264 -g 10", {.size = "1920x1080", .rate = "10"}),
        made("geometry/7680x4320.mp4", "$clock $x264 -preset ultrafast",
             {.size = "7680x4320", .rate = "1", .seconds = 2, .clock = false}),
        made("geometry/portrait.mp4", "$clock $x264", portrait),

        made("geometry/pal 4 by 3.mpg", "$clock -c:v mpeg2video -b:v 2M -g 12 -aspect 4:3", pal,
             {.dar = "4:3"}),
        made("geometry/pal 16 by 9.ts", "$clock -c:v mpeg2video -b:v 2M -g 12 -aspect 16:9", pal,
             {.dar = "16:9"}),
        made("geometry/ntsc 16 by 9.mkv", "$clock -c:v mpeg2video -b:v 2M -g 15 -aspect 16:9",
             {.size = "720x480", .rate = "30000/1001"}, {.dar = "16:9"}),
        made("geometry/cinema.mp4", "$clock $x264 -aspect 2.35", pal, {.dar = "235:100"}),
        made("geometry/narrow pixels.mov", "$clock $x264 -vf setsar=3/4", {.size = "1440x480"},
             {.dar = "9:4"}),

        // The container's aspect counts more than the stream's.
        companion(made("geometry/4 by 3.mp4", "$clock $x264", {.size = "640x480"})),
        remade("geometry/other aspect.mp4", "geometry/4 by 3.mp4", "$from -c copy -aspect 16:9",
               {.size = "640x480"}, {.dar = "16:9"}),
        remade("geometry/other aspect.mkv", "geometry/4 by 3.mp4", "$from -c copy -aspect 16:9",
               {.size = "640x480"}, {.dar = "16:9"}),

        // ffmpeg 5.1 writes its rotate=90 as a display matrix that turns to the left.
        companion(made("geometry/lying left.mp4", "$clock -vf transpose=clock $x264", portrait)),
        companion(made("geometry/lying right.mp4", "$clock -vf transpose=cclock $x264", portrait)),
        companion(made("geometry/upside down.mp4", "$clock -vf hflip,vflip $x264")),
        companion(made("geometry/anamorphic lying.mp4",
                       "$clock -vf transpose=clock,setsar=64/45 $x264", {.size = "576x720"})),
        remade("geometry/rotated 90.mp4", "geometry/lying left.mp4",
               "$from -c copy -metadata:s:v rotate=90", portrait, {.keys = "v0_rotation"}),
        remade("geometry/rotated 90.mov", "geometry/lying left.mp4",
               "$from -c copy -metadata:s:v rotate=90", portrait),
        remade("geometry/rotated 180.mp4", "geometry/upside down.mp4",
               "$from -c copy -metadata:s:v rotate=180", {}),
        remade("geometry/rotated 270.mp4", "geometry/lying right.mp4",
               "$from -c copy -metadata:s:v rotate=270", portrait),
        remade("geometry/rotated -90.mov", "geometry/lying right.mp4",
               "$from -c copy -metadata:s:v rotate=-90", portrait),
        remade("geometry/rotated anamorphic.mp4", "geometry/anamorphic lying.mp4",
               "$from -c copy -metadata:s:v rotate=90", {.size = "576x720"}, {.dar = "9:16"}),
        // A tag that is no display matrix turns nothing.
        made("geometry/rotate tag.mkv", "$clock $x264 -metadata:s:v rotate=90"),

        made("geometry/top first.mpg",
             "$clock -vf tinterlace=interleave_top -c:v mpeg2video -b:v 3M -g 12 "
             "-flags +ildct+ilme -top 1",
             palFields, {.fields = "top field first"}),
        made("geometry/bottom first.ts",
             "$clock -vf tinterlace=interleave_bottom -c:v mpeg2video -b:v 3M -g 12 "
             "-flags +ildct+ilme -top 0",
             palFields, {.fields = "bottom field first"}),
        made("geometry/top first.mp4",
             "$clock -vf tinterlace=interleave_top $x264 -flags +ildct+ilme "
             "-x264-params tff=1",
             palFields, {.fields = "top field first"}),
        made("geometry/bottom first.mkv",
             "$clock -vf tinterlace=interleave_bottom $x264 -flags +ildct+ilme "
             "-x264-params bff=1",
             palFields, {.fields = "bottom field first"}),
        made("geometry/order of the container.mkv",
             "$clock -c:v mpeg2video -b:v 3M -g 12 -flags +ildct+ilme -field_order tt", pal,
             {.fields = "top field first"}),
        made("geometry/top first prores.mov",
             "$clock -vf tinterlace=interleave_top -c:v prores_ks -profile:v 0 "
             "-flags +ildct+ilme -field_order tt",
             {.size = "720x576", .rate = "50", .seconds = 4}, {.fields = "top field first"}),
        made("geometry/bottom first.dv",
             "$clock -vf tinterlace=interleave_bottom -c:v dvvideo -pix_fmt yuv420p",
             {.size = "720x576", .rate = "50", .seconds = 3}, {.fields = "bottom field first"}),
    };
}
