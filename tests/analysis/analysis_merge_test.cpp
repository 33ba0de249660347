#include "analysis/analysis_merge.h"

#include "analysis/expect_record.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/other_streams.h"
#include "analysis/picture_instant.h"
#include "analysis/report_dialect.h"
#include "analysis/report_files.h"
#include "analysis/whole_container.h"
#include "common/test_files.h"

#include <QTemporaryDir>

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
    found.details = reportDetails(report);
    return found;
}

// A report with one video stream: its line's end and what stands below it.
QString reportWith(const char *duration, const char *stream, const char *below = "")
{
    return "ffmpeg version 5.1\nInput #0, mpegts, from 'x':\n  Duration: " + q(duration) +
           ", start: 0.0\n  Stream #0:0[0x1](und), 1, 1/90000: Video: h264, yuv420p, " + q(stream) +
           u'\n' + q(below);
}

MediaInfoRecord mergedOf(const Findings &found)
{
    const auto merged = analysisMerge(found);
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
    const char *const lying = "YUV4MPEG2 W320 H180 F25:1 Ip A4:3\n";
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
        {tag, "", "v0_width=320; v0_rotation="},
        {matrix, "", "v0_rotation=90"},
        {odd, lying, "v0_rotation=315"},
        // A container may override the aspect that the report prints first.
        {"", "YUV4MPEG2 W320 H180 F25:1 Ip A1:1\n", "v0_dar=16:9; v0_par=1:1"},
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
    EXPECT_FALSE(analysisMerge(findings(oldReport("analysis_cover_only_mp4"))));
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
    const QString fields = reportWith("00:00:10.00", "320x180, 25 fps, 50 tbr");
    expectRecord(mergedOf(findings(fields, "YUV4MPEG2 W320 H180 F25:1 It A1:1\n")), "v0_fps=25.0",
                 "field rate");
    const QString unknown = reportWith("00:00:00.48", "320x180, 104857 kb/s, 25 tbr")
                                .replace("Video: h264", "Video: mpeg1video") +
                            "  Stream #0:1: Audio: none, 44100 Hz, mono\n";
    expectRecord(mergedOf(findings(unknown)), "v0_bitrate=; a0_codec=; w_duration=0.48", "unknown");
}

TEST(AnalysisMerge, TakesTheStatedFieldOrderWhereFramesLeaveItOpen)
{
    const struct {
        const char *codec;
        const char *stated;
        const char *mark;
        const char *expected;
    } rows[] = {
        {"h264", "top first", "b", "t"},       {"h264", "bottom first", "t", "b"},
        {"h264", "progressive", "b", "b"},     {"h264", "top first", "p", "p"},
        {"mpeg2video", "top first", "b", "t"}, {"mpeg2video", "bottom first", "t", "t"},
        {"hevc", "top first", "b", "b"},
    };
    for (const auto &row : rows) {
        const QString line = QString("320x180, 25 tbr").prepend(QString("(%1), ").arg(row.stated));
        QString report = reportWith("00:00:10.00", "").replace("yuv420p, ", "yuv420p" + line);
        report.replace("Video: h264", QString("Video: ") + row.codec);
        const QByteArray header = QByteArray("YUV4MPEG2 W320 H180 F25:1 I") + row.mark + " A1:1\n";
        Findings found = findings(report, header.constData());
        found.interlacingText = fieldOrderWord(row.mark);
        EXPECT_EQ(mergedOf(found).value("v0_fields"), fieldOrderWord(row.expected))
            << row.codec << ' ' << row.stated << ' ' << row.mark;
    }
}

TEST(AnalysisMerge, AddsWhatTheParserLeavesOut)
{
    const QString report =
        "ffmpeg version 5.1\nInput #0, matroska,webm, from '':\n  Metadata:\n"
        "    date            : long ago\n    CREATION_TIME   : 2024-05-01T12:34:56.000000Z\n"
        "  Duration: 00:00:12.02, start: 0.000000, bitrate: 1371 kb/s\n"
        "  Chapters:\n    Chapter #0:0: start 0.000000, end 5.000000\n      Metadata:\n"
        "        title           : A\x1b[1m \u202e" +
        QString(300, 'b') +
        "\n                        : Duration: 00:00:01.00\n"
        "    Chapter #0:1: start 5.000000, end 12.000000\n"
        "  Stream #0:0, 4, 1/1000: Video: hevc (libx) (Main 10) (hev1 / 0x31766568), "
        "yuv420p10le(tv, bt2020nc/unknown/smpte2084, top first, left), 640x360, 25 fps, 25 tbr\n"
        "    Metadata:\n      creation_time   : 1999-01-01\n    Side data:\n"
        "      DOVI configuration record: version: 1.0, profile: 8, level: 6, rpu flag: 1\n"
        "  Stream #0:1(fre), 1, 1/1000: Audio: aac (LC), 48000 Hz, mono, fltp (default)\n"
        "  Stream #0:2[0x3](a, Video: x), 1, 1/1000: Audio: pcm, 48000 Hz, 16 channels, s16\n"
        "  Stream #0:3(und), 1, 1/1000: Audio: ac3, 48000 Hz, 5.1(side), fltp\n"
        "  Stream #0:4(pt-BR), 0, 1/1000: Subtitle: subrip\n"
        "Output #0, null, to 'x':\n  Stream #0:1(eng): Audio: pcm, 1 Hz, stereo\n";
    const MediaInfoRecord record = [&] {
        Findings found = findings(report);
        found.reported->insert("chapters", QVariantList{0.0F, 5.0F});
        return mergedOf(found);
    }();
    expectRecord(
        record,
        "w_created=2024-05-01T12:34:56.000000Z; v0_profile=Main 10; "
        "v0_matrix=bt2020nc; v0_primaries=; v0_transfer=smpte2084; v0_range=tv; "
        "v0_hdr=Dolby Vision profile 8; v0_noBase=; a0_lang=fre; a0_channels=1; a0_profile=LC; "
        "a1_channels=16; a2_channels=6; a2_lang=; s0_lang=pt-BR",
        "details");
    EXPECT_EQ(exactDuration(record), 12.02);
    const QVariantList titles = record.value("chapterTitles").toList();
    ASSERT_EQ(titles.size(), 2);
    EXPECT_EQ(titles[0], "A[1m " + QString(195, 'b'));
    EXPECT_EQ(titles[1], "");
}

TEST(OtherStreams, AreNoReasonToRefuseThePictures)
{
    const QString streams = "Input #0, avi, from '':\n"
                            "  Stream #0:0, 1, 1/25: Video: h264 (High), yuv420p, 640x360\n"
                            "  Stream #0:1, 1, 1/1000: Audio: mp3, 44100 Hz, mono\n"
                            "  Stream #0:0 -> #0:0 (h264 (native) -> wrapped_avframe (native))\n";
    const struct {
        const char *said;
        bool expected;
    } rows[] = {
        {"[avi @ 0x1] Could not find codec parameters for stream 1 (Audio: mp3): x", true},
        {"frame= 1 speed=1x\r[mp3float @ 0x1] Error while decoding MPEG audio frame.", true},
        {"Error while decoding stream #0:1: Invalid data found", true},
        {"[avi @ 0x1] Could not find codec parameters for stream 0 (Video: h264): x", false},
        {"[h264 @ 0x1] Error while decoding MB 1 2", false},
        {"Error while decoding stream #0:0: Invalid data found", false},
        {"[avi @ 0x1] error reading header: stream 1", false},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(isFfmpegSuccess(withoutOtherStreams(streams + row.said)), row.expected)
            << row.said;
    }
}

TEST(AnalysisMerge, BelievesTheMovieFrameworkWhereItMakesThePictures)
{
    Findings found = findings(oldReport("info_prores_mov"));
    found.interlacingText = "tff";
    found.movie = MediaInfoRecord{{"v0_codec", "apcn"}, {"v0_width", 1920}, {"w_width", 1920}};
    expectRecord(mergedOf(found),
                 "v0_codec=apcn; v0_width=1920; a0_codec=pcm_s24le; v0_fields=tff; w_width=1920",
                 "both");
    found.reported.reset();
    found.report = "moov atom not found";
    expectRecord(mergedOf(found), "v0_codec=apcn", "alone");
    found.movie.reset();
    EXPECT_FALSE(analysisMerge(found));
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
        {record("mov", 90000, 25), {megabyte, false, false, true, 0.05}, DurationCheck::Tail},
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
    EXPECT_EQ(durationArguments(DurationCheck::Tail, "/s", minute).mid(5, 2),
              (QStringList{"-ss", "58"}));
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
    const DurationClues whole{.isWhole = true};
    EXPECT_EQ(settledDuration(minute, 58.5, {}), 60) << "a claim that is little longer";
    EXPECT_EQ(settledDuration(minute, 30.04, {}), 30.04) << "half a download";
    EXPECT_EQ(settledDuration(minute, 30.04, whole), 60) << "a last frame that stays";
    EXPECT_EQ(settledDuration(minute, 70, whole), 70);
    const MediaInfoRecord late{{"w_duration", 60}, {"w_offset", 48.0F}};
    EXPECT_EQ(settledDuration(late, 12, whole), 12) << "its clock begins at 48 s";
    EXPECT_EQ(durationValue(12.96), QVariant(12));
    EXPECT_EQ(durationValue(0.5), QVariant(0.5F));
}

TEST(WholeContainer, HoldsAllTheBytesThatItAnnounces)
{
    const QByteArray box = QByteArray::fromHex("000000086674797000000010") + "moov" +
                           QByteArray::fromHex("0000000000000000");
    const QByteArray head = QByteArray::fromHex("1A45DFA3820000");
    const struct {
        QByteArray bytes;
        bool expected;
    } rows[] = {
        {box, true},
        {box + QByteArray::fromHex("00000009") + "mdat" + 'x', true},
        {box + QByteArray::fromHex("00000010") + "mdat" + 'x', false},
        {box + QByteArray::fromHex("00000001") + "mdat" + QByteArray::fromHex("7FFFFFFFFFFFFFFF"),
         false},
        {box + QByteArray::fromHex("00000008") + "moof", false},
        {head + QByteArray::fromHex("18538067820000"), true},
        {head + QByteArray::fromHex("185380678300"), false},
        {head + QByteArray::fromHex("1853806701FFFFFFFFFFFFFF00"), false}, // of unknown length
        {head + QByteArray::fromHex("1853806700"), false},
        {"RIFF0000AVI ", false},
        {"", false},
    };
    const QTemporaryDir folder;
    for (const auto &row : rows) {
        writeFile(folder.filePath("x"), row.bytes);
        EXPECT_EQ(holdsAllItsBytes(folder.filePath("x")), row.expected)
            << row.bytes.toHex().toStdString();
    }
    EXPECT_FALSE(holdsAllItsBytes(folder.filePath("none")));
}

TEST(PictureInstant, IsToldByTheFilterThatShowsFrames)
{
    const QString printed = reportFile("showinfo_ts");
    EXPECT_EQ(pictureInstant(printed, Taken::First), 1.02322);
    EXPECT_EQ(pictureInstant(printed, Taken::Last), 11.0232) << "behind a progress line";
    EXPECT_FALSE(pictureInstant("Input #0\n title: pts_time:1.0 ", Taken::First));
}
