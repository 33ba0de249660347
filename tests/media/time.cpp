// Lengths, rates, key frames and clocks that don't start at zero.
#include "media/source.h"

namespace
{

// Where no muxer can go back to its header.
Source piped(const char *name, const char *recipe)
{
    Source source = made(name, recipe);
    source.pipe = true;
    return source;
}

} // namespace

Sources timeSources()
{
    return {
        made("time/one frame.mp4", "$clock $x264 -frames:v 1", {.seconds = 0.04}),
        made("time/one frame.mkv", "$clock -c:v ffv1 -frames:v 1", {.seconds = 0.04}),
        made("time/half a second.mp4", "$clock $x264", {.seconds = 0.48}),
        made("time/one second.avi", "$clock -c:v mpeg4 -q:v 4 -g 25", {.seconds = 1}),
        made("time/two minutes.mp4", "$clock $x264",
             {.size = "160x90", .rate = "10", .seconds = 125, .tick = 1}, {.within = 3.5}),
        made("time/an hour.mkv", "$clock $x264 -g 5",
             {.size = "160x90", .rate = "1/2", .seconds = 3600, .tick = 2}, {.within = 12}),
        made("time/25 hours.mkv", "$clock $x264 -g 10",
             {.size = "160x90", .rate = "1/60", .seconds = 90000, .tick = 60}, {.within = 660}),
        made("time/25 hours.mp4", "$clock $x264 -g 10",
             {.size = "160x90", .rate = "1/60", .seconds = 90000, .tick = 60}, {.within = 660}),
        made("time/variable rate.mkv",
             "$clock -vf select=lt(t\\,4)+not(mod(n\\,10)) -vsync vfr $x264 "
             "-force_key_frames expr:gte(t,n_forced)"),
        made("time/variable rate.mp4",
             "$clock -vf select=lt(mod(t\\,4)\\,1)+not(mod(n\\,25)) -vsync vfr $x264 "
             "-force_key_frames expr:gte(t,n_forced)",
             {}, {.within = 2.1}),
        made("time/screen.mkv", "$clock -vf select=not(mod(n\\,500)) -vsync vfr $x264",
             {.seconds = 60}, {.seconds = 40, .within = 21}),
        companion(made("time/moving.webm", "$clock -c:v libvpx -g 25 -deadline realtime")),
        remade("time/still at the end.webm", "time/moving.webm",
               "$from -c copy -bsf:v setts=duration=if(eq(N\\,299)\\,48/TB\\,DURATION)", {},
               {.seconds = 60, .strays = 5}),
        made("time/120 a second.mp4", "$clock $x264 -g 120", {.rate = "120", .seconds = 6}),
        made("time/film rate.mkv", "$clock $x264", {.rate = "24000/1001"}),

        made("time/one key frame.mp4", "$clock $x264 -g 9999 -sc_threshold 0",
             {.rate = "10", .seconds = 60}),
        made("time/one key frame.mkv", "$clock -c:v libvpx -g 9999 -deadline realtime -cpu-used 8",
             {.rate = "10", .seconds = 60}),
        made("time/key frames 20 s apart.mp4", "$clock $x264 -g 200 -sc_threshold 0",
             {.rate = "10", .seconds = 60}),
        made("time/key frames 20 s apart.ts", "$clock $x264 -g 200 -sc_threshold 0",
             {.rate = "10", .seconds = 60}),

        made("time/starts at 10 hours.ts", "$clock $sound $x264 -c:a aac -output_ts_offset 36000"),
        made("time/starts at an hour.mpg",
             "$clock $sound -c:v mpeg2video -g 12 -c:a mp2 -output_ts_offset 3600"),
        made("time/starts at 100 s.mkv", "$clock $sound $x264 -c:a aac -output_ts_offset 100"),
        made("time/edit list.mp4", "-itsoffset 5 $clock $sound $x264 -c:a aac", {},
             {.seconds = 17, .clockStart = -5, .strays = 2}),
        remade("time/cut by an edit list.mp4", "containers/h264 aac.mp4", "-ss 3.5 $from -c copy",
               {}, {.seconds = 8.5, .clockStart = 3.5, .offFrame = 0.02}),
        made("time/audio first.ts", "-itsoffset 3 $clock $sound $x264 -c:a aac", {},
             {.seconds = 15, .clockStart = -3, .strays = 2}),
        made("time/audio late.mkv", "$clock -itsoffset 3 $sound $x264 -c:a aac", {},
             {.seconds = 15, .strays = 1}),
        made("time/audio longer.mp4", "$clock -f lavfi -i sine=d=24 $x264 -c:a aac", {},
             {.seconds = 24, .strays = 3}),
        made("time/audio shorter.mp4", "$clock -f lavfi -i sine=d=3 $x264 -c:a aac"),

        piped("time/live.mkv", "$clock $sound $x264 -c:a aac -live 1 -f matroska"),
        piped("time/live.webm",
              "$clock -c:v libvpx -g 25 -deadline realtime -cpu-used 8 -live 1 -f webm"),
        piped("time/piped.flv", "$clock $sound -c:v flv1 -g 25 -c:a libmp3lame -ar 44100 -f flv"),
        piped("time/piped.avi", "$clock -c:v mpeg4 -q:v 4 -g 25 -f avi"),
        piped("time/piped fragments.mp4", "$clock $x264 -movflags frag_keyframe+empty_moov -f mp4"),
        made("time/varying bit rate.m2v",
             "$clock -vf noise=alls=90:allf=t:enable=lt(t\\,3) -c:v mpeg2video -q:v 8 -g 12",
             {.size = "352x288"}, {.strays = 2}),
    };
}
