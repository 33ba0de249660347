// The delivery of a sheet, progress readers, and the slots of the tool runs.
#include "controller/controller_fixture.h"
#include "controller/progress_readers.h"
#include "controller/sheet_delivery.h"
#include "controller/task_slots.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

using namespace qv;

namespace
{

using DeliveryTest = ControllerTest;

class TaskSlotsTest : public testing::Test
{
protected:
    TaskSlotsTest()
    {
        m_slots.encodingRunEnded = [this] { ++m_encodingEnds; };
        m_slots.analysisRunEnded = [this] { ++m_analysisEnds; };
    }
    bool runToEnd(const QStringList &steps, float maximum, int mode, bool other = false)
    {
        m_encodingEnds = m_analysisEnds = 0;
        const QStringList command = QStringList{fakeTool(), "play"} + steps;
        return m_slots.tasklauncherStart(command, maximum, mode, {true, true, true}, other) == 1 &&
               waitUntil([this] { return m_encodingEnds + m_analysisEnds > 0; });
    }

    WindowState m_window;
    QStringList m_shown; // each pair of text and value once
    int m_encodingEnds = 0;
    int m_analysisEnds = 0;
    TaskSlots m_slots{m_window, [this] {
                          const SlotControls &shown = m_window.encoding;
                          m_shown << shown.percent + '=' + QString::number(shown.value);
                          m_shown.removeDuplicates();
                      }};
};

} // namespace

TEST_F(DeliveryTest, WhatAKilledProcessLeftIsClearedAwayAndNothingElse)
{
    const QString ours = ".quorvantel-" + QString::fromLatin1(QSysInfo::bootUniqueId().left(8));
    const struct {
        QString name;
        int hours; // of its age
        bool isLocked;
        bool stays;
    } rows[] = {
        {ours + "-1.part", 0, false, false},
        {ours + "-2.part", 2, true, true},
        {".quorvantel-another0-3.part", 0, false, true},
        {".quorvantel-another0-4.part", 2, false, false},
        {".quorvantel-another0-5.part", 2, true, true},
        {"mine.part", 2, false, true},
    };
    QSet<QString> staying{"_KVdir1", "_KVdir2"};
    for (const auto &row : rows) {
        writeFile(path("old/" + row.name), "half");
        auto *file = new QFile(path("old/" + row.name), m_controller.get()); // stays open
        ASSERT_TRUE(file->open(QIODevice::ReadWrite));
        file->setFileTime(QDateTime::currentDateTime().addSecs(-3600 * row.hours),
                          QFileDevice::FileModificationTime);
        ASSERT_TRUE(!row.isLocked || ::flock(file->handle(), LOCK_EX) == 0);
        if (row.stays) {
            staying.insert(row.name);
        }
    }
    for (const char *probe : {"_KVdir1", "_KVdir2/mine", "_KVdir3"}) {
        QDir().mkpath(path("old/") + probe);
    }
    const timespec longAgo[2] = {{1, 0}, {1, 0}};
    for (const char *probe : {"old/_KVdir2", "old/_KVdir3"}) {
        ::utimensat(AT_FDCWD, path(probe).toUtf8().constData(), longAgo, 0);
    }
    removeForgottenDeliveries(path("old"));
    const QStringList left =
        QDir(path("old"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    EXPECT_EQ(QSet<QString>(left.begin(), left.end()), staying);
}

TEST_F(DeliveryTest, AFailureSaysWhyAndLeavesNothingBehind)
{
    writeFile(path("made.jpg"), "whole sheet");
    QDir().mkpath(path("out/folder.jpg"));
    for (const char *place : {"missing/sheet.jpg", "made.jpg/s.jpg", "out/folder.jpg"}) {
        const auto result = deliverSheet(path("made.jpg"), path(place), Existing::Replace);
        ASSERT_FALSE(result) << place;
        EXPECT_FALSE(result.error().kept || result.error().reason.isEmpty()) << place;
    }
    EXPECT_EQ(QDir(path("out")).entryList(QDir::Files | QDir::Hidden), QStringList());
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
        {NoProgress, "time=00:01:30.50 ", -1},
        {Percentage, "x pourcentage    : 42.5 %", 42.5F},
        {Percentage, "pourcentage : 42", 0},
        {BatchNumber, "(batch 3/9)", 3},
        {ProcessingNumber, "Processing (12)", 12},
        {99, "time=00:01:30.50 ", -1},
    };
    for (const auto &row : rows) {
        EXPECT_FLOAT_EQ(progressValue(row.mode, row.line), row.value) << row.line;
    }
    EXPECT_FLOAT_EQ(ratioProgress("Enc1 30", 3, 20), 50);
    EXPECT_FLOAT_EQ(ratioProgress("Enc1 30", 0, 20), 0);
}

TEST_F(TaskSlotsTest, TimeBecomesAPercentageAndAWrongOrForeignLineLeavesTheBar)
{
    ASSERT_TRUE(runToEnd({"out=time=00:00:30.00 x\\rtime=N/A x\\rno mark\\rtime=00:0", "sleep=100",
                          "out=0:45.00 x\\r"},
                         60, FfmpegTime));
    EXPECT_EQ(m_shown.filter("%"), (QStringList{"50 %=30", "75 %=45"}))
        << "a time that a chunk cuts is whole again";
    EXPECT_EQ(m_window.encoding.maximum, 0);
    EXPECT_FALSE(m_window.encoding.determinate || m_window.encoding.stopShown);
    EXPECT_EQ(m_slots.taskParseInt(), CollectOutput);
    m_shown.clear();
    ASSERT_TRUE(
        runToEnd({"out=pourcentage    : 20\\npourcentage    : 1e38\\n"}, 1e-30F, PercentageQuiet));
    EXPECT_EQ(m_shown.filter("%"), QStringList()) << "quiet, and huge values do no harm";
}

TEST_F(TaskSlotsTest, EveryPictureThatAToolTellsOfIsNoted)
{
    QStringList steps;
    for (int i = 0; i < 2000; ++i) {
        if (i % 1000 == 0) {
            steps << "out=";
        }
        steps.last() += QString("image          : %1 %1.250\\npourcentage    : 9\\n").arg(i);
    }
    ASSERT_TRUE(runToEnd(steps << "out=image: x 1\\nimage : 7\\n", 100, PercentageQuiet));
    const QMap<int, double> &instants = m_slots.lastEncodingRun().instants;
    EXPECT_EQ(instants.size(), 2000);
    EXPECT_EQ(instants.value(0), 0.25);
    EXPECT_EQ(instants.value(1999), 1999.25);
}

TEST_F(TaskSlotsTest, AnAnalysisRunCollectsEverythingInAnyScript)
{
    ASSERT_TRUE(
        runToEnd({"out=\\xC3", "sleep=100", "out=\\xA9t\\xC3\\xA9 \\xFF"}, 0, CollectOutput, true));
    EXPECT_TRUE(m_slots.analysisTaskVerboseMStr().startsWith("été "))
        << "a letter that a chunk cuts is whole again";
    EXPECT_EQ(m_encodingEnds, 0);
    ASSERT_TRUE(runToEnd({"exit=4"}, 0, CollectOutput, true));
    EXPECT_EQ(m_slots.analysisTaskVerboseMStr(), "");
    EXPECT_EQ(m_slots.lastAnalysisRun().outcome.exitCode, 4);
}
