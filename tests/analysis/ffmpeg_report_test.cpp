#include "analysis/analysis_merge.h"
#include "analysis/ffmpeg_report.h"

#include "analysis/report_files.h"

#include <gtest/gtest.h>

using namespace qv;
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
    return parseFfmpegReport(q("ffmpeg version 5.1\nInput #0, avi, from 'x.avi':\n") + lines)
        .value_or(MediaInfoRecord());
}

// Keys and values as one readable text; a key without value is expected to be absent.
struct Expected {
    const char *key;
    QVariant value;
};

void expectRecord(const MediaInfoRecord &record, const QList<Expected> &expected, const char *what)
{
    for (const auto &[key, value] : expected) {
        EXPECT_EQ(record.contains(q(key)), value.isValid()) << what << ' ' << key;
        EXPECT_EQ(record.value(q(key)), value)
            << what << ' ' << key << ": " << record.value(q(key)).toString().toStdString();
    }
}

const QVariant absent;

TEST(ReportParser, ReadsRealReports)
{
    struct {
        const char *file;
        QList<Expected> expected;
    } const cases[] = {
        {"info_h264_mp4",
         {{"wrapper", q("mov,mp4,m4a,3gp,3g2,mj2")},
          {"w_duration", 2},
          {"w_offset", 0.0F},
          {"w_bitrate", 128},
          {"v0_id", 0},
          {"v0_codec", q("h264")},
          {"v0_width", 320},
          {"v0_height", 240},
          {"v0_par", q("1:1")},
          {"v0_dar", q("4:3")},
          {"v0_bitrate", 45},
          {"v0_fps", 25.0F},
          {"v0_tbc", absent},
          {"v0_fields", absent},
          {"a0_id", 1},
          {"a0_codec", q("aac")},
          {"a0_lang", q("und")},
          {"a0_rate", 44100},
          {"a0_channels", 1},
          {"a0_bitrate", 69},
          {"v1_id", absent},
          {"a1_id", absent}}},
        {"analysis_h264_mp4",
         {{"wrapper", q("mov,mp4,m4a,3gp,3g2,mj2")},
          {"w_duration", 2},
          {"v0_codec", q("h264")},
          {"v0_width", 320},
          {"v0_height", 240},
          {"v0_dar", q("4:3")},
          {"v0_bitrate", 45},
          {"v0_fps", 25.0F},
          {"a0_codec", q("aac")},
          {"a0_rate", 44100},
          {"a0_channels", 1},
          {"v1_id", absent}}},
        {"info_mpeg2_vob",
         {{"wrapper", q("mpeg")},
          {"w_offset", 0.5342F},
          {"v0_codec", q("mpeg2video")},
          {"v0_bitrate", absent},
          {"a0_codec", q("ac3")},
          {"a0_id", 1},
          {"a0_lang", absent}}},
        {"info_film_mkv",
         {{"v0_par", q("64:45")},
          {"v0_dar", q("16:9")},
          {"a0_id", 1},
          {"a0_channels", 6},
          {"a0_lang", absent},
          {"a1_codec", q("aac")},
          {"a1_channels", absent},
          {"a2_codec", q("flac")},
          {"a2_id", 3},
          {"s0_id", 4},
          {"s0_codec", q("ass")}}},
        {"analysis_film_mkv",
         {{"v0_width", 720},
          {"v0_height", 576},
          {"v0_dar", q("16:9")},
          {"a0_channels", 6},
          {"a2_codec", q("flac")},
          {"s0_codec", q("ass")},
          {"v1_codec", absent}}},
        {"info_disc_ts",
         {{"wrapper", q("mpegts")},
          {"a0_lang", q("fre")},
          {"a1_lang", q("eng")},
          {"a1_codec", q("mp2")},
          {"a1_bitrate", 384},
          {"v0_chroma", q("top first)")}}},
        {"info_prores_mov",
         {{"v0_codec", q("prores")},
          {"v0_par", absent},
          {"v0_dar", q("4:3")},
          {"v0_bitrate", 5722},
          {"a0_codec", q("pcm_s24le")},
          {"a0_bitrate", 1058}}},
        {"info_elementary_m2v",
         {{"wrapper", q("mpegvideo")},
          {"w_duration", absent},
          {"w_bitrate", absent},
          {"w_offset", absent},
          {"v0_width", 320},
          {"v0_fps", 25.0F}}},
        {"info_audio_only", {{"v0_id", absent}, {"v0_codec", absent}, {"a0_codec", q("aac")}}},
    };
    for (const auto &[file, expected] : cases) {
        const auto record = parseFfmpegReport(reportFile(file));
        ASSERT_TRUE(record) << file;
        expectRecord(*record, expected, file);
    }
}

TEST(ReportParser, ReadsTheContainerLine)
{
    expectRecord(
        recordOf(q("  Duration: 00:01:05.96, start: 0.500000, bitrate: 7000 kb/s")),
        {{"wrapper", q("avi")}, {"w_duration", 65}, {"w_offset", 0.5F}, {"w_bitrate", 7000}},
        "full");
    expectRecord(recordOf(q("  Duration: N/A, bitrate: N/A")),
                 {{"w_duration", absent}, {"w_bitrate", absent}, {"w_offset", absent}}, "N/A");
    expectRecord(recordOf(q("  Duration: 99999999:00:00.00, start: -1.4e99, bitrate: -5 kb/s")),
                 {{"w_duration", std::numeric_limits<int>::max()},
                  {"w_offset", 0.0F},
                  {"w_bitrate", absent}},
                 "hostile");
}

TEST(ReportParser, ReadsVideoLines)
{
    struct {
        const char *line;
        QList<Expected> expected;
    } const cases[] = {
        {"Stream #0:0[0x1e0]: Video: mpeg2video (Main), yuv420p, 720x576 [SAR 64:45 DAR 16:9], "
         "9000 kb/s, 25 fps, 25 tbr, 90k tbn, 50 tbc",
         {{"v0_id", 0},
          {"v0_codec", q("mpeg2video")},
          {"v0_chroma", q("yuv420p")},
          {"v0_width", 720},
          {"v0_height", 576},
          {"v0_par", q("64:45")},
          {"v0_dar", q("16:9")},
          {"v0_bitrate", 9000},
          {"v0_fps", 25.0F},
          {"v0_tbc", 50.0F}}},
        {"Stream #0:3: Video: h264, yuv420p, 1920x1080 [PAR 1:1 DAR 16:9], 23.98 fps, 59.94 tbr, "
         "90k tbn, 90k tbc",
         {{"v0_id", 3}, {"v0_par", q("1:1")}, {"v0_fps", 29.97F}, {"v0_tbc", 90.0F}}},
        {"Stream #0:0: Video: h264, 1920x1080, 29.97 fps, 59.94 tbr, 59.94 tbc",
         {{"v0_fps", 59.94F}, {"v0_tbc", 59.0F}, {"v0_dar", absent}}},
        {"Stream #0:0: Video: h264, 1920x1080, 59.94 tbr", {{"v0_fps", 59.94F}}},
        {"Stream #0:0: Video: prores, 1920x1080, SAR 1:1 DAR 16:9, 0 kb/s, 1e99 tbr",
         {{"v0_dar", q("16:9")}, {"v0_bitrate", absent}, {"v0_fps", 0.0F}}},
        {"Stream #0:0: Video: h264, yuv420p(tv, bt709), 640x480, 3, 1/50, 12 tbn",
         {{"v0_chroma", q("bt709)")}}},
        {"Stream #0:0: Video: h264, 99999999999x-5",
         {{"v0_width", std::numeric_limits<int>::max()}, {"v0_height", -5}}},
    };
    for (const auto &[line, expected] : cases) {
        expectRecord(recordOf(q(line)), expected, line);
    }
}

TEST(ReportParser, ReadsAudioLines)
{
    struct {
        const char *lines;
        QList<Expected> expected;
    } const cases[] = {
        {"Stream #0:1[0x80](fre): Audio: ac3, 48000 Hz, 5.1(side), fltp, 448 kb/s",
         {{"a0_id", 1},
          {"a0_codec", q("ac3")},
          {"a0_lang", q("fre")},
          {"a0_rate", 48000},
          {"a0_channels", 6},
          {"a0_bitrate", 448}}},
        {"Stream #0:1(eng): Audio: aac (LC), 48000 Hz, stereo, fltp\n"
         "Stream #0:2: Audio: mp2, 48000 Hz, mono, s16",
         {{"a0_lang", absent},
          {"a0_codec", q("aac")},
          {"a0_channels", 2},
          {"a1_id", 2},
          {"a1_channels", absent}}},
        {"Stream #0:1: Audio: pcm, 48000 Hz, 7 channels, s16", {{"a0_channels", 7}}},
        {"Stream #0:1: Audio: pcm, 48000 Hz, octagonal, s16\n"
         "Stream #0:2: Audio: mp2, 48000 Hz, MONO, s16",
         {{"a0_channels", 2}, {"a1_channels", 1}}},
        {"Stream #0:1: Audio: aac, 96000 Hz, 5.1, fltp, 300 kb/s",
         {{"a0_codec", q("pcm_bluray")},
          {"a0_rate", 48000},
          {"a0_channels", 2},
          {"a0_bitrate", 1536},
          {"a0_force", 1}}},
        {"Stream #0:1: Audio: mp2, 48000 Hz, 2 channels\n"
         "Stream #0:2: Audio: aac, 96000 Hz, stereo",
         {{"a0_force", absent}, {"a1_codec", q("aac")}, {"a1_rate", 96000}}},
        {"Stream #0:1: Audio: pcm, 48000 Hz, 2147483647.9999999999", // saturates
         {{"a0_channels", std::numeric_limits<int>::max()}}},
    };
    for (const auto &[lines, expected] : cases) {
        expectRecord(recordOf(q(lines)), expected, lines);
    }
}

TEST(ReportParser, TakesTheLastInputSectionWithoutTheOutput)
{
    const QString report = q("ffmpeg\n"
                             "Input #0, avi, from 'a':\n"
                             "  Stream #0:0: Video: mpeg4, yuv420p, 640x480, 25 tbr\n"
                             "  Stream #0:1: Audio: mp3, 44100 Hz, stereo\n"
                             "Input #0, mpegts, from 'b':\n"
                             "  Stream #0:0: Video: h264, yuv420p, 1280x720, 50 tbr\n"
                             "Output #0, null, to 'c':\n"
                             "  Stream #0:0: Video: rawvideo, 16x16, 1 tbr\n"
                             "Output #0, null, to 'd':\n"
                             "  Stream #0:0: Video: rawvideo, 32x32, 1 tbr\n");
    expectRecord(
        parseFfmpegReport(report).value_or(MediaInfoRecord()),
        {{"wrapper", q("mpegts")}, {"v0_width", 1280}, {"v1_width", absent}, {"a0_codec", absent}},
        "two inputs");
}

TEST(ReportParser, FindsNothingInATextWithoutInput)
{
    EXPECT_FALSE(parseFfmpegReport({}));
    EXPECT_FALSE(parseFfmpegReport(reportFile("analysis_truncated_mp4")));
    EXPECT_TRUE(parseFfmpegReport(q("x\nInput #1 is unknown"))->isEmpty());
}

TEST(ReportParser, SurvivesMarkersWithoutWhatBelongsToThem)
{
    for (const char *line :
         {"Input ", "Duration: ", "Duration: , start: , bitrate: ", "Stream #Audio: ",
          "Stream #Video: ,  tbr,  tbc, x,  kb/s, DAR ",
          "Stream #: Subtitle: ", "Stream #](Audio: ", "Stream #0:0 Video: [SAR DAR x",
          "Stream #0:0: Audio: ,  Hz, .,  channels"}) {
        EXPECT_FALSE(recordOf(q(line)).contains(q("w_duration"))) << line;
    }
}

TEST(ReportParser, StaysLinearOnHugeReports)
{
    constexpr int many = 20000;
    const QString streams = q("Stream #0:0: Video: a, 1x1, 25 tbr\n").repeated(many);
    EXPECT_EQ(recordOf(streams).value(q("v19999_width")), QVariant(1));
    const QString longLine =
        q("Stream #0:0: Video: a") + q(", 59.94 tbr, 23.98 fps").repeated(many);
    EXPECT_TRUE(recordOf(longLine).contains(q("v0_fps")));
    EXPECT_TRUE(recordOf(QString(4000000, u'x') + q("Video: Stream #")).contains(q("wrapper")));
}

TEST(FfInfos, NeedsAReportOrASource)
{
    EXPECT_FALSE(ffInfos({}, {}));
    EXPECT_FALSE(ffInfos(q("/nowhere/at all.mov"), {}));
    EXPECT_TRUE(ffInfos({}, reportFile("info_h264_mp4")));
}

class OneFilmFramework : public MovieFramework
{
public:
    bool canOpen(const QString &) override { return true; }
    bool hasDecoder(const QString &) override { return true; }
    std::optional<MediaInfoRecord> record(const QString &) override
    {
        return MediaInfoRecord{{q("v0_codec"), q("apcn")}, {q("v0_width"), 1920}};
    }
    bool thumbnail(const QString &, int, int, double, const QString &) override { return false; }
};

TEST(AnalysisMerge, CompletesTheMovieFrameworksRecordByTheReport)
{
    OneFilmFramework movies;
    const auto record = analysisMerge(q("x.mov"), reportFile("info_prores_mov"), q("tff"), movies);
    ASSERT_TRUE(record);
    expectRecord(*record,
                 {{"v0_codec", q("apcn")},
                  {"v0_width", 1920},
                  {"v0_height", 240},
                  {"a0_codec", q("pcm_s24le")},
                  {"v0_fields", q("tff")}},
                 "merged");
}

TEST(AnalysisMerge, IsTheReportsRecordWithoutAMovieFramework)
{
    NoMovieFramework movies;
    const auto record = analysisMerge(q("x.mov"), reportFile("info_prores_mov"), {}, movies);
    ASSERT_TRUE(record);
    expectRecord(*record, {{"v0_codec", q("prores")}, {"v0_fields", absent}}, "report only");
    EXPECT_FALSE(analysisMerge(q("x.mov"), q("moov atom not found"), q("tff"), movies));
}

} // namespace
