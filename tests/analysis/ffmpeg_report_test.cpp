#include "analysis/ffmpeg_report.h"

#include "analysis/expect_record.h"
#include "analysis/report_files.h"

using namespace qv;
using qv::tests::expectRecord;
using qv::tests::reportFile;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

// A report of one container line and these stream lines.
MediaInfoRecord recordOf(const QString &lines)
{
    return parseFfmpegReport("ffmpeg version 5.1\nInput #0, avi, from 'x.avi':\n" + lines)
        .value_or(MediaInfoRecord());
}

TEST(ReportParser, ReadsRealReports)
{
    struct {
        const char *file;
        const char *expected;
    } const cases[] = {
        {"info_h264_mp4", "wrapper=mov,mp4,m4a,3gp,3g2,mj2; w_duration=2; w_offset=0; "
                          "v0_codec=h264; v0_dar=4:3; v0_bitrate=45; v0_fps=25; v0_tbc=; "
                          "a0_lang=und; a0_rate=44100; a0_channels=1; v1_id=; a1_id="},
        {"info_mpeg2_vob", "wrapper=mpeg; w_offset=0.5342; v0_bitrate=; a0_id=1"},
        {"analysis_film_mkv", "v0_width=720; v0_par=64:45; v0_dar=16:9; a0_channels=6; a0_lang=; "
                              "a1_channels=; a2_codec=flac; s0_codec=ass; v1_codec="},
        {"info_disc_ts", "a0_lang=fre; a1_lang=eng; a1_codec=mp2; v0_chroma=top first)"},
        {"info_prores_mov", "v0_codec=prores; v0_par=; v0_dar=4:3; a0_bitrate=1058"},
        {"info_elementary_m2v", "w_duration=; w_bitrate=; w_offset=; v0_fps=25"},
        {"info_audio_only", "v0_id=; a0_codec=aac"},
    };
    for (const auto &[file, expected] : cases) {
        const auto record = parseFfmpegReport(reportFile(file));
        ASSERT_TRUE(record) << file;
        expectRecord(*record, expected, file);
    }
}

TEST(ReportParser, TakesNothingAbsurdFromTheContainerLine)
{
    expectRecord(recordOf("  Duration: N/A, bitrate: N/A"),
                 "w_duration=; w_bitrate=; w_offset=", "N/A");
    expectRecord(recordOf("  Duration: 99999999:00:00.00, start: -1.4e99, bitrate: -5 kb/s"),
                 "w_duration=2147483647; w_offset=0; w_bitrate=", "hostile");
}

TEST(ReportParser, ReadsVideoLines)
{
    struct {
        const char *line;
        const char *expected;
    } const cases[] = {
        {"Stream #0:0[0x1e0]: Video: mpeg2video (Main), yuv420p, 720x576 [SAR 64:45 DAR 16:9], "
         "9000 kb/s, 25 fps, 25 tbr, 90k tbn, 50 tbc",
         "v0_id=0; v0_codec=mpeg2video; v0_chroma=yuv420p; v0_width=720; v0_height=576; "
         "v0_par=64:45; v0_dar=16:9; v0_bitrate=9000; v0_fps=25; v0_tbc=50"},
        {"Stream #0:3: Video: h264, yuv420p, 1920x1080 [PAR 1:1 DAR 16:9], 23.98 fps, 59.94 tbr, "
         "90k tbn, 90k tbc",
         "v0_id=3; v0_par=1:1; v0_fps=29.97; v0_tbc=90"},
        {"Stream #0:0: Video: h264, 1920x1080, 29.97 fps, 59.94 tbr, 59.94 tbc",
         "v0_fps=59.94; v0_tbc=59; v0_dar="},
        {"Stream #0:0: Video: prores, 1920x1080, SAR 1:1 DAR 16:9, 0 kb/s, 1e99 tbr",
         "v0_dar=16:9; v0_bitrate=; v0_fps=0"},
        {"Stream #0:0: Video: h264, 99999999999x-5", "v0_width=2147483647; v0_height=-5"},
    };
    for (const auto &[line, expected] : cases) {
        expectRecord(recordOf(q(line)), expected, line);
    }
}

TEST(ReportParser, ReadsAudioLines)
{
    struct {
        const char *lines;
        const char *expected;
    } const cases[] = {
        {"Stream #0:1[0x80](fre): Audio: ac3, 48000 Hz, 5.1(side), fltp, 448 kb/s",
         "a0_id=1; a0_codec=ac3; a0_lang=fre; a0_rate=48000; a0_channels=6; a0_bitrate=448"},
        {"Stream #0:1(eng): Audio: aac (LC), 48000 Hz, stereo, fltp\n"
         "Stream #0:2: Audio: mp2, 48000 Hz, mono, s16",
         "a0_lang=; a0_codec=aac; a0_channels=2; a1_id=2; a1_channels="},
        {"Stream #0:1: Audio: pcm, 48000 Hz, octagonal, s16\n"
         "Stream #0:2: Audio: mp2, 48000 Hz, MONO, s16",
         "a0_channels=2; a1_channels=1"},
        {"Stream #0:1: Audio: aac, 96000 Hz, 5.1, fltp, 300 kb/s",
         "a0_codec=pcm_bluray; a0_rate=48000; a0_channels=2; a0_bitrate=1536; a0_force=1"},
        {"Stream #0:1: Audio: mp2, 48000 Hz, 2 channels\n"
         "Stream #0:2: Audio: aac, 96000 Hz, stereo",
         "a0_force=; a1_codec=aac; a1_rate=96000"},
        {"Stream #0:1: Audio: pcm, 48000 Hz, 2147483647.9999999999", // saturates
         "a0_channels=2147483647"},
    };
    for (const auto &[lines, expected] : cases) {
        expectRecord(recordOf(q(lines)), expected, lines);
    }
}

TEST(ReportParser, TakesTheLastInputSectionWithoutTheOutput)
{
    const QString report = "ffmpeg\n"
                           "Input #0, avi, from 'a':\n"
                           "  Stream #0:0: Video: mpeg4, yuv420p, 640x480, 25 tbr\n"
                           "  Stream #0:1: Audio: mp3, 44100 Hz, stereo\n"
                           "Input #0, mpegts, from 'b':\n"
                           "  Stream #0:0: Video: h264, yuv420p, 1280x720, 50 tbr\n"
                           "Output #0, null, to 'c':\n"
                           "  Stream #0:0: Video: rawvideo, 16x16, 1 tbr\n"
                           "Output #0, null, to 'd':\n"
                           "  Stream #0:0: Video: rawvideo, 32x32, 1 tbr\n";
    expectRecord(parseFfmpegReport(report).value_or(MediaInfoRecord()),
                 "wrapper=mpegts; v0_width=1280; v1_width=; a0_codec=", "two inputs");
}

TEST(ReportParser, SurvivesMarkersWithoutWhatBelongsToThem)
{
    for (const char *line :
         {"Input ", "Duration: ", "Duration: , start: , bitrate: ", "Stream #Audio: ",
          "Stream #Video: ,  tbr,  tbc, x,  kb/s, DAR ",
          "Stream #: Subtitle: ", "Stream #](Audio: ", "Stream #0:0 Video: [SAR DAR x",
          "Stream #0:0: Audio: ,  Hz, .,  channels"}) {
        EXPECT_FALSE(recordOf(q(line)).contains("w_duration")) << line;
    }
}

TEST(ReportParser, StaysLinearOnHugeReports)
{
    constexpr int many = 20000;
    const QString streams = q("Stream #0:0: Video: a, 1x1, 25 tbr\n").repeated(many);
    EXPECT_EQ(recordOf(streams).value("v19999_width"), QVariant(1));
    const QString longLine = "Stream #0:0: Video: a" + q(", 59.94 tbr, 23.98 fps").repeated(many);
    EXPECT_TRUE(recordOf(longLine).contains("v0_fps"));
    EXPECT_TRUE(recordOf(QString(4000000, u'x') + "Video: Stream #").contains("wrapper"));
}

} // namespace
