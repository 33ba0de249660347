// What the pictures are coded with.
#include "media/changes.h"
#include "media/source.h"

namespace
{

const Picture shortClip{.rate = "10", .seconds = 8};

} // namespace

Sources codecSources()
{
    return {
        made("codecs/h264 444.mkv", "$clock $x264 -pix_fmt yuv444p"),
        made("codecs/h264 10 bit.mkv", "$clock $x264 -pix_fmt yuv420p10"),
        made("codecs/h264 B frames.mp4", "$clock $x264 -bf 3 -b_strategy 0"),
        made("codecs/h264 open groups.ts", "$clock $x264 -bf 3 -x264-params open-gop=1"),
        made("codecs/hevc.mp4",
             "$clock -c:v libx265 -preset ultrafast -x265-params log-level=error:keyint=25"),
        made("codecs/hevc 10 bit PQ.mkv",
             "$clock -c:v libx265 -preset ultrafast -pix_fmt yuv420p10 -color_primaries "
             "bt2020 -color_trc smpte2084 -colorspace bt2020nc "
             "-x265-params log-level=error:keyint=25:hdr10=1:colorprim=bt2020:"
             "transfer=smpte2084:colormatrix=bt2020nc",
             {}, {.keys = "v0_hdr v0_matrix v0_primaries v0_range", .grey = "#999999"}),
        made("codecs/hevc 10 bit HLG.mp4",
             "$clock -c:v libx265 -preset ultrafast -pix_fmt yuv420p10 -color_primaries "
             "bt2020 -color_trc arib-std-b67 -colorspace bt2020nc "
             "-x265-params log-level=error:keyint=25:colorprim=bt2020:"
             "transfer=arib-std-b67:colormatrix=bt2020nc"),
        // zscale takes no odd sides with subsampled colours.
        made("codecs/vp9 PQ of odd sides.webm",
             "$clock -c:v libvpx-vp9 -profile:v 2 -pix_fmt yuv420p10 -g 10 -deadline realtime "
             "-cpu-used 8 -color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc",
             {.size = "321x181", .rate = "10", .seconds = 8}, {.grey = "#999999"}),
        // The movie framework would not map it.
        made("codecs/prores HLG.mov",
             "$clock -vf scale=in_color_matrix=bt601:out_color_matrix=bt2020 -c:v prores_ks "
             "-color_primaries bt2020 -color_trc arib-std-b67 "
             "-colorspace bt2020nc",
             shortClip),
        made("codecs/full range bt709.mp4",
             "$clock -vf scale=in_color_matrix=bt601:out_color_matrix=bt709:out_range=pc $x264 "
             "-colorspace bt709 -color_range pc",
             shortClip),
        made("codecs/bt601 hd.mp4",
             "$clock -vf scale=in_color_matrix=bt709:out_color_matrix=bt601 $x264 "
             "-colorspace smpte170m",
             {.size = "1280x720", .rate = "10", .seconds = 8}),
        made("codecs/wide gamut.mkv",
             "$clock -vf zscale=min=470bg:pin=bt709:tin=bt709:rin=limited:m=bt2020nc:p=bt2020:"
             "t=bt709 -c:v ffv1 -colorspace bt2020nc -color_primaries bt2020 -color_trc bt709",
             shortClip),
        companion(made("codecs/with colr.mp4",
                       "$clock -c:v libx265 -preset ultrafast -x265-params log-level=error:"
                       "keyint=10 -colorspace smpte170m -color_primaries bt709 -color_trc bt709",
                       shortClip)),
        changed("codecs/dolby vision 5.mp4", "codecs/with colr.mp4",
                replaced(QByteArray("colrnclx\0\1\0\1\0\6\0", 15),
                         QByteArray("dvcC\1\0\x0a\x35\0\0\0\0\0\0\0", 15)),
                {.keys = "v0_noBase"}, shortClip),
        made("codecs/av1 svt.mp4", "$clock -c:v libsvtav1 -preset 12 -g 10", shortClip),
        made("codecs/av1 aom.mkv", "$clock -c:v libaom-av1 -usage realtime -cpu-used 8 -g 10",
             shortClip),
        made("codecs/vp9.webm",
             "$clock $sound -c:v libvpx-vp9 -g 25 -deadline realtime -cpu-used 8 "
             "-c:a libopus"),
        made("codecs/vp9 alpha.webm",
             "$clock -vf format=yuva420p,colorchannelmixer=aa=0.5,format=yuva420p "
             "-c:v libvpx-vp9 -g 10 -deadline realtime -cpu-used 8 -auto-alt-ref 0",
             shortClip),
        made("codecs/mpeg2 422.mxf", "$clock -c:v mpeg2video -pix_fmt yuv422p -b:v 3M -g 12"),
        made("codecs/prores proxy.mov", "$clock -c:v prores_ks -profile:v 0", shortClip),
        made("codecs/prores lt.mov", "$clock -c:v prores_ks -profile:v 1", shortClip),
        made("codecs/prores 422.mov", "$clock -c:v prores_ks -profile:v 2", shortClip),
        made("codecs/prores hq.mov", "$clock -c:v prores_ks -profile:v 3", shortClip),
        made("codecs/prores 4444 alpha.mov",
             "$clock -vf format=yuva444p,colorchannelmixer=aa=0.5 -c:v prores_ks -profile:v 4 "
             "-pix_fmt yuva444p10",
             shortClip),
        made("codecs/prores 4444 xq.mov", "$clock -c:v prores_ks -profile:v 5 -pix_fmt yuv444p10",
             shortClip),
        made("codecs/dnxhd.mov", "$clock -c:v dnxhd -b:v 36M -pix_fmt yuv422p",
             {.size = "1920x1080", .seconds = 2}, {.within = 0.5}),
        made("codecs/dnxhr.mxf",
             "$clock -vf scale=in_color_matrix=bt601:out_color_matrix=bt709 -c:v dnxhd "
             "-profile:v dnxhr_lb -pix_fmt yuv422p",
             {.seconds = 8}),
        made("codecs/mjpeg.avi", "$clock -c:v mjpeg -q:v 4 -pix_fmt yuvj422p"),
        made("codecs/ffv1.mkv", "$clock -c:v ffv1 -level 3"),
        made("codecs/huffyuv.avi", "$clock -c:v huffyuv -pix_fmt yuv422p", shortClip),
        made("codecs/raw rgb.avi", "$clock -c:v rawvideo -pix_fmt bgr24",
             {.size = "160x90", .rate = "10", .seconds = 8}),
        made("codecs/raw v210.mov", "$clock -c:v v210",
             {.size = "96x54", .rate = "10", .seconds = 8}),
        made("codecs/animation.mov", "$clock -c:v qtrle -g 25"),
        made("codecs/cinepak.avi", "$clock -c:v cinepak -g 10",
             {.size = "160x96", .rate = "5", .seconds = 8}),
        made("codecs/svq1.mov", "$clock -c:v svq1 -g 25 -q:v 2"),
        made("codecs/jpeg2000.mxf", "$clock -c:v jpeg2000 -pix_fmt yuv422p",
             {.size = "160x96", .rate = "25", .seconds = 4}),
        made("codecs/gray.mkv", "$clock -c:v ffv1 -pix_fmt gray10", {.clock = false}),
    };
}
