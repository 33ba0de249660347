// The probes that run ffmpeg, on clips of its synthetic sources.
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/refusal.h"
#include "common/test_files.h"

#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/bundle.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

class FfmpegRuns : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Bundle::setMain(Bundle(QStringLiteral(QV_TEST_BUNDLE)));
        s_folder = new QTemporaryDir;
        setTemporaryFolder(s_folder->path());
        QDir(s_folder->path()).mkdir(q("tools"));
        make("film.m2v", "mpeg2video");
        make("film.avi", "mpeg4");
    }
    static void TearDownTestSuite()
    {
        setTemporaryFolder({});
        delete s_folder;
        s_folder = nullptr;
    }
    static QString path(const char *name) { return toolFolder() + u'/' + q(name); }
    static void write(const char *name, const QByteArray &content)
    {
        writeFile(path(name), content);
    }
    static QString analysisReport(const QString &source)
    {
        return taskArray1PipeMax({ffmpegPath(), q("-loglevel"), q("debug"), q("-fdebug"), q("ts"),
                                  q("-i"), source, q("-vframes"), q("10"), q("-pix_fmt"),
                                  q("yuv420p"), q("-an"), q("-f"), q("yuv4mpegpipe"), q("-y"),
                                  path("frame.yuv")},
                                 ErrorText::Merged);
    }

private:
    static void make(const char *name, const char *codec)
    {
        // The system's, which opens anything.
        taskArray1PipeMax({QStandardPaths::findExecutable(q("ffmpeg")), q("-loglevel"), q("error"),
                           q("-f"), q("lavfi"), q("-i"),
                           q("testsrc=size=160x120:rate=25:duration=3.5"), q("-c:v"), q(codec),
                           q("-y"), path(name)},
                          ErrorText::Merged);
    }

    static QTemporaryDir *s_folder;
};

QTemporaryDir *FfmpegRuns::s_folder = nullptr;

TEST_F(FfmpegRuns, ReportsOnASourceWhoseReportIsUnknown)
{
    for (const QString &report : {QString(), q("no input section")}) {
        const auto record = ffInfos(path("film.avi"), report);
        ASSERT_TRUE(record);
        EXPECT_EQ(record->value(q("v0_width")), QVariant(160));
    }
    EXPECT_FALSE(ffInfos({}, {}));
    EXPECT_FALSE(ffInfos({}, q("no input section")));
}

TEST_F(FfmpegRuns, MeasuresAnElementaryStreamByReadingIt)
{
    EXPECT_EQ(durationM2v(path("film.m2v")), 3);
    write("text.m2v", "no video at all");
    EXPECT_EQ(durationM2v(path("text.m2v")), 1);
    EXPECT_EQ(durationM2v(path("missing.m2v")), 1);
}

TEST_F(FfmpegRuns, AcceptsAGoodFilmAndSaysWhatIsWrongWithABadOne)
{
    const QString good = analysisReport(path("film.avi"));
    EXPECT_TRUE(isFfmpegSuccess(reportWithoutNames(good, path("film.avi"))));
    EXPECT_TRUE(refusalReason(good, path("film.avi")).isNull());
    QFile frames(path("frame.yuv"));
    ASSERT_TRUE(frames.open(QIODevice::ReadOnly));
    EXPECT_EQ(interlaceMark(frames.read(100)), q("p"));

    write("error .avi", "no video at all");
    const QString bad = analysisReport(path("error .avi"));
    EXPECT_EQ(refusalReason(bad, path("error .avi")),
              q("not a video that ffmpeg can read (invalid data)"));
}

} // namespace

TEST_F(FfmpegRuns, TellsTheBuildOfTheInstalledOne)
{
    EXPECT_GE(ffRevision(), 4.0F);
}
