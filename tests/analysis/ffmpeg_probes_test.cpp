#include "analysis/ffmpeg_probes.h"

#include "analysis/refusal.h"
#include "analysis/report_files.h"
#include "analysis/second_look.h"
#include "support/bundle.h"
#include "support/localized_strings.h"

using namespace qv;
using qv::tests::reportFile;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

TEST(FfmpegSuccess, IsRefusedByAnyOfThePhrases)
{
    struct {
        const char *text;
        bool expected;
    } const cases[] = {
        {"", false},
        {"Error while decoding stream #0:0", false},
        {"decode_slice_header error\nconcealing 12 DC errors", true},
        {"[avi] UNKNOWN format", false},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(isFfmpegSuccess(q(text)), expected) << text;
    }
}

TEST(FfmpegSuccess, IsNotDecidedByNamesAndTags)
{
    const QString film = reportFile("analysis_film_mkv");
    EXPECT_FALSE(isFfmpegSuccess(film));
    EXPECT_TRUE(isFfmpegSuccess(reportWithoutNames(film, "film.mkv")));

    const QString path = "/films/error \x01 unknown format.mkv";
    const QString report = "[x] Opening '/films/error ? unknown format.mkv' for reading\n"
                           "Input #0, x, from '/films/error \x01 unknown format.mkv':";
    EXPECT_TRUE(isFfmpegSuccess(reportWithoutNames(report, path)));
}

TEST(FfmpegSuccess, KeepsFfmpegsOwnWords)
{
    EXPECT_FALSE(
        isFfmpegSuccess(reportWithoutNames(reportFile("analysis_damaged_avi"), "dam_mpeg4.avi")));
    const QString stream =
        "    Metadata:\n      handler_name : Video: a\n    Stream #0:1: Audio: b";
    EXPECT_EQ(reportWithoutNames(stream, {}), "    Metadata:\n    Stream #0:1: Audio: b");
}

TEST(RefusalReason, IsSaidInWordsForPeople)
{
    struct {
        const char *file;
        const char *source;
        const char *expected;
    } const cases[] = {
        {"analysis_missing", "nothere.mp4", "there is no such file"},
        {"info_audio_only", "audioonly.mp4", "no video"},
        {"analysis_damaged_avi", "dam_mpeg4.avi",
         "it is damaged: ffmpeg can't decode all of its pictures"},
        {"analysis_rotated_mp4", "rotated.mp4", nullptr},
    };
    for (const auto &[file, source, expected] : cases) {
        EXPECT_EQ(refusalReason(reportFile(file), q(source)), q(expected)) << file;
    }
}

TEST(RefusalReason, OtherwiseQuotesTheLastLineThatNamesAProblem)
{
    struct {
        const char *report;
        const char *expected;
    } const cases[] = {
        {"/v/a.mov: Protocol is odd", "ffmpeg says: \"Protocol is odd\""},
        {"/v/a.mov: Unknown error occurred", "ffmpeg can't read it and does not say why"},
        {"/v/a.mov: Not yet implemented in FFmpeg, patches welcome",
         "it has a feature that ffmpeg does not support"},
        {"[avi @ 0x55] Failed to read /v/a.mov\n0 decoding errors\nConversion failed!",
         "ffmpeg says: \"Failed to read\""},
        {"Input #0, avi\nav_interleaved_write_frame(): No space left on device\nError at MB: 1",
         "no space is left in the temporary folder"},
        {"Input #0, avi\nStream #0:0: Video: none\nDecoder (codec none) not found for input stream "
         "#0:0",
         "ffmpeg has no decoder for its video"},
        {"", ""},
    };
    for (const auto &[report, expected] : cases) {
        EXPECT_EQ(refusalReason(q(report), "/v/a.mov"), q(expected)) << report;
    }
    EXPECT_TRUE(refusalReason("all is well", {}).isNull());
    EXPECT_LE(refusalReason("error " + QString(100000, u'x'), {}).size(), 200);
}

TEST(PictureCheck, TakesAPictureForSoundWhenItsDecoderMetNoErrorBeforeIt)
{
    const QString start = "[h264 @ 0x1] [error] no frame!\n" // while the streams are looked for
                          "[info]   Stream #0:1 -> #0:0 (av1 (libdav1d) -> wrapped_avframe (x))\n";
    const QString picture = "[Parsed_showinfo_0 @ 0x2] [info] n: 0 pts: 1 pts_time:0.04 pos: 1\n";
    const QString error = "[libdav1d @ 0x3] [error] Error parsing OBU data\n";
    const struct {
        QString report;
        int sound;
        int unsound;
    } rows[] = {
        {picture, 0, 0}, // not decoded by a known decoder
        {start, 0, 0},
        {start + picture + picture, 2, 0},
        {start + "[mpegts @ 0x4] [error] PES packet size mismatch\n" + picture, 1, 0},
        {start + error, 0, 1},
        {start + picture + error + picture + picture + picture + picture, 2, 3}, // delayed ones
        {start + "[av1 @ 0x3] [info] concealing 1 DC, 1 AC, 1 MV errors\n" + picture, 0, 1},
        {start + "[error] Error while decoding stream #0:1: Invalid data\n" + picture, 0, 1},
    };
    for (const auto &row : rows) {
        const PictureCheck check = pictureCheck(row.report);
        EXPECT_EQ(check.sound, row.sound) << row.report.toStdString();
        EXPECT_EQ(check.unsound, row.unsound) << row.report.toStdString();
    }
}

TEST(FieldOrder, IsReadFromAStreamHeader)
{
    struct {
        const char *header;
        const char *expected;
    } const cases[] = {
        {"YUV4MPEG2 W720 H576 F25:1 It A16:15 C420mpeg2\nFRAME", "t"},
        {"YUV4MPEG2 W720 H576 F25:1 Ip", "p"},
        {"YUV4MPEG2 W720 H576\nFRAME Ib", nullptr},
        {"", nullptr},
    };
    for (const auto &[header, expected] : cases) {
        EXPECT_EQ(interlaceMark(header), q(expected)) << header;
    }
}

TEST(Chapters, AreListedOnceEachInReportOrder)
{
    const QString lines = "    Chapter #0:0: start 0.000000, end 300.000000\n"
                          "    Chapter #0:1: start 300.500000, end 310.000000\n"
                          "    Chapter #0:2: start 0.000000, end 400.000000\n"
                          "    Chapter #0:3: begins 5, end 6\n";
    EXPECT_EQ(ffChapters(lines), (QList<float>{0.0F, 300.5F}));
    EXPECT_FALSE(ffChapters(reportFile("info_h264_mp4")));
}

TEST(Revision, IsReadFromTheVersionText)
{
    struct {
        const char *text;
        float expected;
    } const cases[] = {
        {"ffmpeg version 5.1.9-0+deb12u1 Copyright (c) 2000-2026\nbuilt with gcc 12", 5.1F},
        {"ffmpeg version git-N-30610-g1929807, Copyright", 30610.0F},
        {"tool version 0.6, built on", 60000.0F},
        {"", 0.0F},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_FLOAT_EQ(ffRevisionFromText(q(text)), expected) << text;
    }
}

// "10.0" comes before "9.96": the order is that of texts.
TEST(KeyFrame, IsTheFirstTimeInTextOrder)
{
    const QString lines = "[showinfo @ 0x1] n:0 pts:1 pts_time:9.96 fmt:x iskey:1 type:I\n"
                          "[showinfo @ 0x1] n:1 pts:1 pts_time:5.0 fmt:x iskey:0 type:P\n"
                          "[showinfo @ 0x1] n:2 pts:1 pts_time:10.0 fmt:x iskey:1 type:I\n"
                          "[other @ 0x1] n:3 pts:1 pts_time:1.0 fmt:x iskey:1 type:I\n";
    EXPECT_FLOAT_EQ(keyFrameStartTime(lines), 10.0F);
}

TEST(AnalysisFf, NeedsAFieldOrderForASourceWithAFrameRate)
{
    const QString film = reportFile("info_film_mkv");
    EXPECT_FALSE(analysisFf(film, {}));
    EXPECT_TRUE(analysisFf(reportFile("info_audio_only"), {}));
    const QString withKeyFrame =
        film + "\n[showinfo @ 0x1] n:0 pts:1 pts_time:0.48 fmt:x iskey:1 type:I\n";
    const auto record = analysisFf(withKeyFrame, "progressive");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->value("chapters"), QVariant(QVariantList{0.0F, 1.0F}));
    EXPECT_EQ(record->value("intraOffset"), QVariant(0.48F));
}

} // namespace
