// Sheet names, the delivery of a sheet, progress readers, and the slots of the tool runs.
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "controller/progress_readers.h"
#include "controller/sheet_delivery.h"
#include "controller/sheet_names.h"
#include "controller/task_slots.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace qv;

namespace
{

class DeliveryTest : public testing::Test
{
protected:
    void SetUp() override
    {
        QDir().mkpath(m_folder.filePath("out"));
        write(made(), "whole sheet");
    }
    QString made() const { return m_folder.filePath("made.jpg"); }
    QString place() const { return m_folder.filePath("out/sheet.jpg"); }
    static void write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QStringList inOut() const
    {
        return QDir(m_folder.filePath("out"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir m_folder;
};

class TaskSlotsTest : public testing::Test
{
protected:
    TaskSlotsTest()
    {
        m_slots.encodingRunEnded = [this] { ++m_encodingEnds; };
        m_slots.analysisRunEnded = [this] { ++m_analysisEnds; };
    }
    int start(const QStringList &steps, float maximum, int mode, bool other = false)
    {
        return m_slots.tasklauncherStart(QStringList{fakeTool(), "play"} + steps, maximum, mode,
                                         {true, true, true}, other);
    }
    bool waitForEnd()
    {
        return waitUntil([this] { return m_encodingEnds + m_analysisEnds > 0; });
    }

    WindowState m_window;
    QStringList m_percents;
    QList<double> m_values;
    int m_encodingEnds = 0;
    int m_analysisEnds = 0;
    TaskSlots m_slots{m_window, [this] {
                          const SlotControls &shown = m_window.encoding;
                          if (!m_percents.contains(shown.percent)) {
                              m_percents << shown.percent;
                          }
                          if (!m_values.contains(shown.value)) {
                              m_values << shown.value;
                          }
                      }};
};

} // namespace

TEST(SheetNames, TellSourcesOfOneNameApartAndStayTheSame)
{
    SheetNames names;
    const struct {
        const char *source;
        const char *base;
    } rows[] = {
        {"/one/film.mp4", "/out/film"},       {"/two/film.mp4", "/out/film (two)"},
        {"/one/film.mov", "/out/film (mov)"}, {"/x/two/film.avi", "/out/film (avi)"},
        {"/y/two/film.avi", "/out/film 2"},   {"/one/film.b.mp4", "/out/film.b"},
        {"/one/..mp4", "/out/untitled"},      {"/one/...mp4", "/out/untitled (mp4)"},
        {"/one/film.mp4", "/out/film"},       {"/y/two/film.avi", "/out/film 2"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(names.baseFor(row.source, "/out"), row.base) << row.source;
    }
    EXPECT_EQ(names.baseFor("/two/film.mp4", "/elsewhere"), "/elsewhere/film");
    EXPECT_TRUE(isRenamed("/two/film.mp4", "/out/film (two)"));
    EXPECT_FALSE(isRenamed("/two/film.mp4", "/out/film"));
}

TEST(SheetNames, PassOverRefusedOnesAndFitWhatAFileSystemTakes)
{
    SheetNames names;
    const auto refuse = [](const QString &base) { return base != "/out/a" && base != "/out/a 2"; };
    EXPECT_EQ(names.baseFor("/one/a.mp4", "/out", refuse), "/out/a 3");
    const QString longName = QString::fromUtf8("😀").repeated(60) + "tail";
    QSet<QString> bases;
    for (const QString &folder : {QString("x"), longName}) {
        for (int i = 0; i < 3; ++i) {
            const QString source = QString("/%1/%2/%3.mp4").arg(i).arg(folder, longName);
            const QString base = names.baseFor(source, "/out");
            const QByteArray name = lastPathComponent(base).toUtf8();
            EXPECT_LE(name.size(), 245);
            EXPECT_FALSE(QString::fromUtf8(name).contains(QChar::ReplacementCharacter));
            bases << base;
        }
    }
    EXPECT_EQ(bases.size(), 6);
}

TEST_F(DeliveryTest, AnExistingFileIsKeptOrReplacedWhole)
{
    ASSERT_TRUE(deliverSheet(made(), place(), Existing::Keep));
    EXPECT_EQ(contentOf(place()), "whole sheet");
    write(place(), "old");
    const auto kept = deliverSheet(made(), place(), Existing::Keep);
    ASSERT_FALSE(kept);
    EXPECT_TRUE(kept.error().kept);
    EXPECT_EQ(contentOf(place()), "old");
    ASSERT_TRUE(deliverSheet(made(), place(), Existing::Replace));
    EXPECT_EQ(contentOf(place()), "whole sheet");
    EXPECT_EQ(inOut(), QStringList{"sheet.jpg"});
    EXPECT_EQ(contentOf(made()), "whole sheet");
}

TEST_F(DeliveryTest, AFailureSaysWhyAndLeavesNothingBehind)
{
    QDir().mkpath(place());
    QStringList wrong{m_folder.filePath("missing/sheet.jpg"), m_folder.filePath("made.jpg/s.jpg"),
                      "/proc/sheet.jpg"};
    for (const Existing existing : {Existing::Keep, Existing::Replace}) {
        for (const QString &destination : wrong) {
            const auto result = deliverSheet(made(), destination, existing);
            ASSERT_FALSE(result) << destination.toStdString();
            EXPECT_FALSE(result.error().kept) << destination.toStdString();
            EXPECT_FALSE(result.error().reason.isEmpty());
        }
    }
    const auto onFolder = deliverSheet(made(), place(), Existing::Replace);
    ASSERT_FALSE(onFolder);
    EXPECT_FALSE(onFolder.error().kept);
    EXPECT_FALSE(deliverSheet(m_folder.filePath("none"), place() + "2", Existing::Keep));
    EXPECT_EQ(inOut(), QStringList{"sheet.jpg"});
}

TEST(ProgressReaders, FindTheNumberAfterTheirMarker)
{
    const struct {
        int mode;
        const char *line;
        float value;
    } rows[] = {
        {FfmpegTime, "frame= 35 fps=0 time=00:01:30.50 bitrate=N/A", 90.5F},
        {FfmpegTime, "time=01:00:00", 3600},
        {FfmpegTime, "time=90.50 bitrate", 0},
        {FfmpegTime, "time=1:2:3:4 x", 0},
        {FfmpegTime, "time=N/A bitrate", 0},
        {FfmpegTime, "no marker", 0},
        {NoProgress, "time=00:01:30.50 ", -1},
        {Percentage, "x pourcentage    : 42.5 %", 42.5F},
        {Percentage, "pourcentage : 42", 0},
        {PercentageQuiet, "pourcentage    : 7", 7},
        {BatchNumber, "(batch 3/9)", 3},
        {ProcessingNumber, "Processing (12)", 12},
        {ProcessingNumber, "Processing (", 0},
        {PictureRuns, "time=00:01:30.50 ", -1},
        {CollectOutput, "time=00:01:30.50 ", -1},
        {99, "time=00:01:30.50 ", -1},
    };
    for (const auto &row : rows) {
        EXPECT_FLOAT_EQ(progressValue(row.mode, row.line), row.value) << row.line;
    }
    EXPECT_FLOAT_EQ(ratioProgress("Enc1 30", 3, 20), 50);
    EXPECT_FLOAT_EQ(ratioProgress("Enc1 30", 0, 20), 0);
    EXPECT_FLOAT_EQ(ratioProgress("30", 3, 20), 0);
}

TEST_F(TaskSlotsTest, TimeBecomesAPercentageAndAWrongOrForeignLineLeavesTheBar)
{
    ASSERT_EQ(start({"out=time=00:00:30.00 x\\rtime=N/A x\\rno mark\\rtime=00:0", "sleep=100",
                     "out=0:45.00 x\\r"},
                    60, FfmpegTime),
              1);
    EXPECT_TRUE(m_window.encoding.determinate);
    EXPECT_EQ(m_window.encoding.maximum, 60);
    EXPECT_TRUE(m_window.encoding.stopShown);
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(m_percents, (QStringList{"", "50 %", "75 %"}));
    EXPECT_EQ(m_values, (QList<double>{0, 30, 45})) << "a time that a chunk cuts is whole again";
    EXPECT_EQ(m_window.encoding.maximum, 0);
    EXPECT_FALSE(m_window.encoding.determinate || m_window.encoding.stopShown);
    EXPECT_EQ(m_slots.taskProgressMaxValue(), 0);
    EXPECT_EQ(m_slots.taskParseInt(), CollectOutput);
    EXPECT_EQ(m_encodingEnds, 1);
}

TEST_F(TaskSlotsTest, TheQuietPercentageShowsNoTextAndHugeValuesDoNoHarm)
{
    ASSERT_EQ(
        start({"out=pourcentage    : 20\\npourcentage    : 1e38\\n"}, 1e-30F, PercentageQuiet), 1);
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(m_percents, QStringList{""});
    m_encodingEnds = 0;
    ASSERT_EQ(start({"out=pourcentage    : 1e38\\n"}, 1e-30F, Percentage), 1);
    ASSERT_TRUE(waitForEnd());
}

TEST_F(TaskSlotsTest, PictureRunsKeepOneMaximumAndMode)
{
    for (int run = 0; run < 2; ++run) {
        m_encodingEnds = 0;
        ASSERT_EQ(start({"err=time=00:00:01.00 x\\r"}, 16, PictureRuns), 1);
        EXPECT_FALSE(m_window.encoding.determinate);
        EXPECT_TRUE(m_window.encoding.wheelSpinning);
        ASSERT_TRUE(waitForEnd());
        EXPECT_EQ(m_slots.taskProgressMaxValue(), 16);
        EXPECT_EQ(m_slots.taskParseInt(), PictureRuns);
        EXPECT_FALSE(m_window.encoding.wheelSpinning);
    }
    EXPECT_EQ(m_percents, QStringList{""});
}

TEST_F(TaskSlotsTest, AnAnalysisRunCollectsEverythingInAnyScript)
{
    ASSERT_EQ(
        start({"out=\\xC3", "sleep=100", "out=\\xA9t\\xC3\\xA9 \\xFF"}, 0, CollectOutput, true), 1);
    EXPECT_TRUE(m_slots.isAnalysisRunning());
    EXPECT_FALSE(m_slots.isEncodingRunning());
    ASSERT_TRUE(waitForEnd());
    const QString output = m_slots.analysisTaskVerboseMStr();
    EXPECT_TRUE(output.startsWith("été ")) << "a letter that a chunk cuts is whole again";
    EXPECT_EQ(m_analysisEnds, 1);
    EXPECT_EQ(m_encodingEnds, 0);
    EXPECT_EQ(m_slots.lastAnalysisRun().outcome.ending, ToolOutcome::Ending::Exited);
    ASSERT_EQ(start({"exit=4"}, 0, CollectOutput, true), 1);
    EXPECT_EQ(m_slots.analysisTaskVerboseMStr(), "");
    ASSERT_TRUE(waitUntil([this] { return m_analysisEnds == 2; }));
    EXPECT_EQ(m_slots.lastAnalysisRun().outcome.exitCode, 4);
}

TEST_F(TaskSlotsTest, BothSlotsRunAtOnceAndEachEndsItsOwn)
{
    ASSERT_EQ(start({"sleep=60000"}, 0, NoProgress), 1);
    ASSERT_EQ(start({"out=x"}, 0, CollectOutput, true), 1);
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(m_analysisEnds, 1);
    EXPECT_TRUE(m_slots.isEncodingRunning());
    m_slots.terminateAnalysis();
    m_slots.terminateEncoding();
    EXPECT_EQ(m_encodingEnds, 1);
    EXPECT_EQ(m_analysisEnds, 1);
    EXPECT_EQ(m_slots.lastEncodingRun().outcome.ending, ToolOutcome::Ending::Stopped);
    EXPECT_TRUE(waitUntil(hasNoChildren, 2000));
}

TEST_F(TaskSlotsTest, ARunThatCannotStartEndsAtOnceSoThatTheStepsGoOn)
{
    EXPECT_EQ(m_slots.tasklauncherStart({}, 0, NoProgress, {}, false), 0);
    EXPECT_EQ(m_encodingEnds, 0);
    for (const QStringList &wrong : {QStringList{"/nowhere/tool"}, {"|", "/bin/true"}}) {
        m_encodingEnds = 0;
        EXPECT_EQ(m_slots.tasklauncherStart(wrong, 0, NoProgress, {}, false), 0);
        EXPECT_EQ(m_encodingEnds, 1);
        EXPECT_EQ(m_slots.lastEncodingRun().outcome.ending, ToolOutcome::Ending::NotStarted);
        EXPECT_FALSE(m_slots.isEncodingRunning());
    }
}
