#include "analysis/analysis_merge.h"

#include "analysis/expect_record.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/picture_instant.h"
#include "analysis/report_dialect.h"
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

QString oldReport(const char *name)
{
    return inOldWords(reportFile(name));
}

Findings findings(const QString &report, const char *frameHeader = "")
{
    Findings found;
    found.sourcePath = "x.mov";
    found.report = report;
    found.frame = decodedFrame(frameHeader);
    found.reported = parseFfmpegReport(report);
    return found;
}

// A report with one video stream: its line's end and what stands below it.
QString reportWith(const char *duration, const char *stream, const char *below = "")
{
    return "ffmpeg version 5.1\nInput #0, mpegts, from 'x':\n  Duration: " + q(duration) +
           ", start: 0.0\n  Stream #0:0[0x1](und), 1, 1/90000: Video: h264, yuv420p, " + q(stream) +
           u'\n' + q(below);
}

MediaInfoRecord mergedOf(const Findings &found, Road road = Road::Ffmpeg)
{
    const auto merged = analysisMerge(found, road);
    return merged ? merged->record : MediaInfoRecord();
}

} // namespace

TEST(ReportDialect, GivesTheInstalledReleasesReportsTheOldWords)
{
    const QString phone = oldReport("analysis_rotated_mp4");
    EXPECT_TRUE(phone.contains("av_read_packet stream=0, pts=0, dts=0"));
    expectRecord(*parseFfmpegReport(phone), "v0_chroma=yuv420p; v0_width=320; v0_par=1:1", "mp4");
    EXPECT_TRUE(oldReport("analysis_two_videos_mkv").contains("dts=-9223372036854775808"));
    EXPECT_FALSE(phone.contains("wrapped_avframe, ")) << "the output stream";
    EXPECT_FLOAT_EQ(keyFrameStartTime(oldReport("showinfo_ts")), 1.02322F);

    // A disc's subtitles have no size until one is shown; that is no reason to refuse the film.
    EXPECT_FALSE(isFfmpegSuccess(reportFile("info_subtitles_m2ts")));
    EXPECT_TRUE(isFfmpegSuccess(oldReport("info_subtitles_m2ts")));
    // So is a broadcast that begins in the midst of a group.
    EXPECT_FALSE(isFfmpegSuccess(reportFile("info_hevc_midgroup_ts")));
    EXPECT_TRUE(isFfmpegSuccess(oldReport("info_hevc_midgroup_ts")));

    const QString old = "Input #0, mpeg, from 'x':\n  Stream #0:0[0x1e0]: Video: mpeg2video "
                        "(Main), yuv420p, 720x576 [SAR 64:45 DAR 16:9], 9000 kb/s, 25 fps\n";
    EXPECT_EQ(inOldWords(old), old);
    EXPECT_EQ(inOldWords("Stream #0:0: Video: hevc (Main 10), yuv420p10le(tv, bt2020nc/bt2020/"
                         "smpte2084), 2 reference frames, 64x64, Closed Captions, 25 fps"),
              "Stream #0:0: Video: hevc (Main 10), yuv420p10le, 64x64, 25 fps");
}

TEST(AnalysisMerge, DescribesThePictureThatIsSeen)
{
    const char *const upright = "YUV4MPEG2 W180 H320 F25:1 Ip A1:1\n";
    const char *const lying = "YUV4MPEG2 W320 H180 F25:1 Ip A1:1\n";
    const char *const matrix = "      displaymatrix: rotation of -90.00 degrees\n";
    const char *const tag = "      rotate          : 90\n";
    const char *const odd = "      displaymatrix: rotation of 45.00 degrees\n";
    const char *const wide = "320x180 [SAR 4:3 DAR 64:27], 25 fps, 25 tbr";
    const struct {
        const char *below;
        const char *frame;
        const char *expected;
    } rows[] = {
        {"", lying, "v0_width=320; v0_height=180; v0_dar=64:27"},
        {matrix, "", "v0_width=180; v0_height=320; v0_dar=27:64; v0_par=3:4"},
        {matrix, upright, "v0_width=180; v0_height=320"},
        {"      displaymatrix: rotation of 180.00 degrees\n", lying, "v0_width=320"},
        {"      displaymatrix: rotation of 270.00 degrees\n", upright, "v0_width=180"},
        {odd, lying, "v0_width=320; v0_dar=64:27"},
        // The tag alone turns when ffmpeg turned by it.
        {tag, upright, "v0_width=180; v0_height=320"},
        {tag, lying, "v0_width=320; v0_height=180"},
        {tag, "", "v0_width=320"},
    };
    for (const auto &row : rows) {
        const QString report = reportWith("00:00:10.00", wide, row.below);
        expectRecord(mergedOf(findings(report, row.frame)), row.expected, row.below);
    }
}

TEST(AnalysisMerge, TakesTheStreamThatIsDecodedAndNoCover)
{
    expectRecord(mergedOf(findings(oldReport("analysis_two_videos_mkv"))),
                 "v0_id=1; v0_width=320; v1_id=0; v1_width=160; v2_id=", "two videos");
    EXPECT_FALSE(analysisMerge(findings(oldReport("analysis_cover_only_mp4")), Road::Ffmpeg));
    EXPECT_FALSE(showsMovingPicture(oldReport("analysis_cover_only_mp4")));
    const QString coverFirst = reportWith("00:00:10.00", "600x600, 90k tbr (attached pic)",
                                          "  Stream #0:1: Video: h264, yuv420p, 320x180, 25 tbr\n");
    expectRecord(mergedOf(findings(coverFirst)), "v0_id=1; v0_width=320; v1_width=", "cover");
}

TEST(AnalysisMerge, FillsWhatTheReportLeavesOpenAndDropsWhatCantBe)
{
    const QString bare = reportWith("N/A", "none [SAR 0:1 DAR 0:1], 0 tbr");
    expectRecord(mergedOf(findings(bare, "YUV4MPEG2 W720 H576 F25:1 It A64:45 C420\n")),
                 "v0_width=720; v0_height=576; v0_dar=16:9; v0_fps=25.0; w_duration=", "frame");
    expectRecord(mergedOf(findings(bare)), "v0_width=; v0_dar=; v0_fps=; v0_codec=h264", "nothing");
    // A clock's rate is no frame rate.
    const QString variable = reportWith("00:00:10.00", "320x180, 25 fps, 1k tbr");
    expectRecord(mergedOf(findings(variable, "YUV4MPEG2 W320 H180 F25:1 Ip A1:1\n")), "v0_fps=25.0",
                 "variable rate");
    const QString phone = reportWith("00:00:10.00", "320x180, 29.97 fps, 90k tbr");
    expectRecord(mergedOf(findings(phone, "YUV4MPEG2 W320 H180 F30:1 Ip A1:1\n")), "v0_fps=30.0",
                 "phone");
}

TEST(AnalysisMerge, BelievesTheMovieFrameworkWhereItMakesThePictures)
{
    Findings found = findings(oldReport("info_prores_mov"));
    found.interlacingText = "tff";
    found.movie = MediaInfoRecord{{"v0_codec", "apcn"}, {"v0_width", 1920}, {"w_width", 1920}};
    expectRecord(mergedOf(found, Road::MovieFramework),
                 "v0_codec=apcn; v0_width=1920; a0_codec=pcm_s24le; v0_fields=tff; w_width=1920",
                 "its road");
    expectRecord(mergedOf(found), "v0_codec=prores; w_width=1920", "ffmpeg's road");
    found.reported.reset();
    found.report = "moov atom not found";
    expectRecord(mergedOf(found, Road::MovieFramework), "v0_codec=apcn", "alone");
    found.movie.reset();
    EXPECT_FALSE(analysisMerge(found, Road::Ffmpeg));
}

TEST(Duration, IsMeasuredWhereItCanNotBeBelieved)
{
    const auto record = [](const char *wrapper, double seconds, double fps = 25) {
        MediaInfoRecord r{{"wrapper", q(wrapper)}, {"v0_fps", fps}};
        if (seconds > 0) {
            r.insert("w_duration", seconds);
        }
        return r;
    };
    // Of a DVD's size.
    const auto full = [&](const char *wrapper, double seconds) {
        MediaInfoRecord r = record(wrapper, seconds);
        r.insert({{"v0_width", 720}, {"v0_height", 576}});
        return r;
    };
    constexpr qint64 megabyte = 1000000;
    const struct {
        MediaInfoRecord record;
        DurationClues clues;
        DurationCheck expected;
    } rows[] = {
        {record("mov", 0), {megabyte}, DurationCheck::Whole},
        {record("mov", 60), {megabyte}, DurationCheck::Tail},
        {record("mpegts", 60), {megabyte}, DurationCheck::None},
        {record("mpegts", 3600), {megabyte}, DurationCheck::Whole}, // 11 bytes a frame
        {record("mpegvideo", 60), {megabyte, true}, DurationCheck::Whole},
        {record("mpeg2video", 60), {megabyte, false, true}, DurationCheck::None},
        {record("mov", 90000, 1.0 / 60), {megabyte}, DurationCheck::Tail},
        {record("mov", 90000, 25), {megabyte}, DurationCheck::Whole},
        {record("mov", 60, 0), {0}, DurationCheck::Tail},
        {full("mpeg", 1200), {1000 * megabyte}, DurationCheck::None},
        {full("mpeg", 4), {1000 * megabyte}, DurationCheck::Whole}, // its clock began anew
        {full("mpeg", 90000), {1000 * megabyte}, DurationCheck::Whole},
        {full("mpegts", 90000), {1000 * megabyte}, DurationCheck::None}, // hardly anything moves
        {full("mpegts", 4), {1000 * megabyte}, DurationCheck::Whole},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(durationCheck(row.record, row.clues), row.expected)
            << row.record.value("wrapper").toString().toStdString()
            << row.record.value("w_duration").toDouble();
    }
    const MediaInfoRecord minute = record("mov", 60);
    EXPECT_EQ(durationArguments(DurationCheck::Tail, "/s", minute).mid(3, 2),
              (QStringList{"-ss", "58"}));
    const MediaInfoRecord slides = record("mov", 90000, 1.0 / 60);
    EXPECT_EQ(durationArguments(DurationCheck::Tail, "/s", slides).at(4), "89760");
}

TEST(Duration, ComesFromTheLastProgressOfTheCopyingRun)
{
    const MediaInfoRecord minute{{"w_duration", 60}, {"v0_fps", 25.0F}};
    const struct {
        const char *printed;
        double seconds; // below -100: none
        bool endsAsClaimed;
    } rows[] = {
        {"frame=  50 Lsize=N/A time=00:00:01.96 bitrate\n", 1.96, true},
        {"frame=  50 Lsize=N/A time=00:00:01.96 bitrate\rframe= 900 Lsize=N/A time=00:00:36.00 b",
         36, false},
        {"frame=  50 Lsize=N/A time=-00:00:57.97 bitrate", -57.97, false},
        {"frame=   0 Lsize=N/A time=00:00:00.00 bitrate", -1000, false},
        {"nothing", -1000, false},
    };
    for (const auto &row : rows) {
        const auto seconds = copiedSeconds(q(row.printed));
        EXPECT_NEAR(seconds.value_or(-1000), row.seconds, 0.01) << row.printed;
        EXPECT_EQ(endsAsClaimed(minute, seconds), row.endsAsClaimed) << row.printed;
    }
    EXPECT_EQ(settledDuration(minute, 58.5), 60) << "the last frame lasts";
    EXPECT_NEAR(settledDuration(minute, 30), 30.04, 0.001);
    EXPECT_EQ(durationValue(12.96), QVariant(12));
    EXPECT_EQ(durationValue(0.5), QVariant(0.5F));
}

TEST(PictureInstant, IsToldByTheFilterThatShowsFrames)
{
    const QString printed = reportFile("showinfo_ts");
    EXPECT_EQ(pictureInstant(printed, Taken::First), 1.02322);
    EXPECT_EQ(pictureInstant(printed, Taken::Last), 11.0232) << "behind a progress line";
    EXPECT_FALSE(pictureInstant("Input #0\n title: pts_time:1.0 ", Taken::First));
}
