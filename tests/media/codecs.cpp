// What the pictures are coded with.
#include "media/source.h"

namespace
{

const Picture shortClip{.rate = "10", .seconds = 8};

Source prores(const char *name, const char *recipe)
{
    return {.name = name, .recipe = recipe, .picture = shortClip};
}

} // namespace

Sources codecSources()
{
    return {
        {.name = "codecs/h264 444.mkv", .recipe = "$clock $x264 -pix_fmt yuv444p"},
        {.name = "codecs/h264 10 bit.mkv", .recipe = "$clock $x264 -pix_fmt yuv420p10"},
        {.name = "codecs/h264 B frames.mp4", .recipe = "$clock $x264 -bf 3 -b_strategy 0"},
        {.name = "codecs/h264 open groups.ts",
         .recipe = "$clock $x264 -bf 3 -x264-params open-gop=1"},
        {.name = "codecs/hevc.mp4",
         .recipe = "$clock -c:v libx265 -preset ultrafast -x265-params log-level=error:keyint=25"},
        {.name = "codecs/hevc 10 bit PQ.mkv",
         .recipe = "$clock -c:v libx265 -preset ultrafast -pix_fmt yuv420p10 -color_primaries "
                   "bt2020 -color_trc smpte2084 -colorspace bt2020nc "
                   "-x265-params log-level=error:keyint=25:hdr10=1:colorprim=bt2020:"
                   "transfer=smpte2084:colormatrix=bt2020nc"},
        {.name = "codecs/hevc 10 bit HLG.mp4",
         .recipe = "$clock -c:v libx265 -preset ultrafast -pix_fmt yuv420p10 -color_primaries "
                   "bt2020 -color_trc arib-std-b67 -colorspace bt2020nc "
                   "-x265-params log-level=error:keyint=25:colorprim=bt2020:"
                   "transfer=arib-std-b67:colormatrix=bt2020nc"},
        {.name = "codecs/av1 svt.mp4",
         .recipe = "$clock -c:v libsvtav1 -preset 12 -g 10",
         .picture = shortClip},
        {.name = "codecs/av1 aom.mkv",
         .recipe = "$clock -c:v libaom-av1 -usage realtime -cpu-used 8 -g 10",
         .picture = shortClip},
        {.name = "codecs/vp9.webm",
         .recipe = "$clock $sound -c:v libvpx-vp9 -g 25 -deadline realtime -cpu-used 8 "
                   "-c:a libopus"},
        {.name = "codecs/vp9 alpha.webm",
         .recipe = "$clock -vf format=yuva420p,colorchannelmixer=aa=0.5,format=yuva420p "
                   "-c:v libvpx-vp9 -g 10 -deadline realtime -cpu-used 8 -auto-alt-ref 0",
         .picture = shortClip},
        {.name = "codecs/mpeg2 422.mxf",
         .recipe = "$clock -c:v mpeg2video -pix_fmt yuv422p -b:v 3M -g 12"},
        prores("codecs/prores proxy.mov", "$clock -c:v prores_ks -profile:v 0"),
        prores("codecs/prores lt.mov", "$clock -c:v prores_ks -profile:v 1"),
        prores("codecs/prores 422.mov", "$clock -c:v prores_ks -profile:v 2"),
        prores("codecs/prores hq.mov", "$clock -c:v prores_ks -profile:v 3"),
        prores("codecs/prores 4444 alpha.mov",
               "$clock -vf format=yuva444p,colorchannelmixer=aa=0.5 -c:v prores_ks -profile:v 4 "
               "-pix_fmt yuva444p10"),
        prores("codecs/prores 4444 xq.mov",
               "$clock -c:v prores_ks -profile:v 5 -pix_fmt yuv444p10"),
        {.name = "codecs/dnxhd.mov",
         .recipe = "$clock -c:v dnxhd -b:v 36M -pix_fmt yuv422p",
         .picture = {.size = "1920x1080", .seconds = 2},
         .expect = {.within = 0.5}},
        {.name = "codecs/dnxhr.mxf",
         .recipe = "$clock -c:v dnxhd -profile:v dnxhr_lb -pix_fmt yuv422p",
         .picture = {.seconds = 8}},
        {.name = "codecs/mjpeg.avi", .recipe = "$clock -c:v mjpeg -q:v 4 -pix_fmt yuvj422p"},
        {.name = "codecs/ffv1.mkv", .recipe = "$clock -c:v ffv1 -level 3"},
        {.name = "codecs/huffyuv.avi",
         .recipe = "$clock -c:v huffyuv -pix_fmt yuv422p",
         .picture = shortClip},
        {.name = "codecs/raw rgb.avi",
         .recipe = "$clock -c:v rawvideo -pix_fmt bgr24",
         .picture = {.size = "160x90", .rate = "10", .seconds = 8}},
        {.name = "codecs/raw v210.mov",
         .recipe = "$clock -c:v v210",
         .picture = {.size = "96x54", .rate = "10", .seconds = 8}},
        {.name = "codecs/animation.mov", .recipe = "$clock -c:v qtrle -g 25"},
        {.name = "codecs/cinepak.avi",
         .recipe = "$clock -c:v cinepak -g 10",
         .picture = {.size = "160x96", .rate = "5", .seconds = 8}},
        {.name = "codecs/svq1.mov", .recipe = "$clock -c:v svq1 -g 25 -q:v 2"},
        {.name = "codecs/jpeg2000.mxf",
         .recipe = "$clock -c:v jpeg2000 -pix_fmt yuv422p",
         .picture = {.size = "160x96", .rate = "25", .seconds = 4}},
        {.name = "codecs/gray.mkv",
         .recipe = "$clock -c:v ffv1 -pix_fmt gray10",
         .picture = {.clock = false}},
    };
}
