// Sheet names, the delivery of a sheet, progress readers, and the slots of the tool runs.
#include "controller/controller_fixture.h"
#include "controller/progress_readers.h"
#include "controller/sheet_delivery.h"
#include "controller/sheet_names.h"
#include "controller/task_slots.h"

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

TEST(SheetNames, TellSourcesOfOneNameApartAndStayTheSame)
{
    SheetNames names;
    const struct {
        const char *source;
        const char *base;
    } rows[] = {
        {"/one/film.mp4", "/out/film"},
        {"/two/film.mp4", "/out/film (two)"},
        {"/one/film.mov", "/out/film (mov)"},
        {"/x/two/film.avi", "/out/film (avi)"},
        {"/y/two/film.avi", "/out/film 2"},
        {"/one/..mp4", "/out/untitled"},
        {"/one/film.mp4", "/out/film"},
        {"/y/two/film.avi", "/out/film 2"},
        {"/one/été.mp4", "/out/été"},
        {"/two/E\u0301TE\u0301.mp4", "/out/E\u0301TE\u0301 (two)"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(names.baseFor(row.source, "/out"), row.base) << row.source;
    }
    EXPECT_EQ(names.baseFor("/two/film.mp4", "/elsewhere"), "/elsewhere/film");
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
    const QString made = path("made.jpg");
    const QString place = path("out/sheet.jpg");
    writeFile(made, "whole sheet");
    writeFile(place, "old");
    const auto kept = deliverSheet(made, place, Existing::Keep);
    ASSERT_FALSE(kept);
    EXPECT_TRUE(kept.error().kept);
    EXPECT_EQ(contentOf(place), "old");
    ASSERT_TRUE(deliverSheet(made, place, Existing::Replace));
    EXPECT_EQ(contentOf(place), "whole sheet");
    EXPECT_EQ(contentOf(made), "whole sheet");
    EXPECT_EQ(QDir(path("out")).entryList(QDir::Files | QDir::Hidden), QStringList{"sheet.jpg"});
}

TEST_F(DeliveryTest, WhatAKilledProcessLeftIsClearedAwayWithTime)
{
    const QStringList names = {".quorvantel-12ab.part", ".quorvantel-34cd.part", "mine.part"};
    for (const QString &name : names) {
        writeFile(path("old/" + name), "half");
        QFile file(path("old/" + name));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        const int hours = name == names[1] ? 0 : 2;
        file.setFileTime(QDateTime::currentDateTime().addSecs(-3600 * hours),
                         QFileDevice::FileModificationTime);
    }
    removeForgottenDeliveries(path("old"));
    EXPECT_EQ(QDir(path("old")).entryList(QDir::Files | QDir::Hidden, QDir::Name),
              (QStringList{names[1], names[2]}));
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
