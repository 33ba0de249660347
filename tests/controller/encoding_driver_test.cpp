#include "controller/controller_fixture.h"
#include "controller/store_keys.h"

#include <QImage>

using namespace qv;

namespace
{

class EncodingTest : public ControllerTest
{
protected:
    void expectIdle() const
    {
        EXPECT_TRUE(m_controller->isGateOpen());
        EXPECT_FALSE(isEncoding());
        for (const QString &key : {keys::work, keys::replaceFiles}) {
            EXPECT_FALSE(m_preferences.prefRead(key).isValid()) << key.toStdString();
        }
        EXPECT_EQ(m_controller->window().stepCaption, "");
        EXPECT_EQ(QDir(path("scratch/tools")).entryList({"stills-*"}, QDir::Dirs), QStringList());
    }
};

} // namespace

TEST_F(EncodingTest, TakesThePicturesOfEachRowInTurnAndLeavesOnlySheets)
{
    ASSERT_TRUE(admit({"a.mp4", "b.mp4"}));
    forgetRuns();
    QStringList captions;
    m_face.onWindow = [&] {
        const QString caption = m_controller->window().stepCaption;
        if (!caption.isEmpty() && !captions.contains(caption)) {
            captions << caption;
        }
    };
    ASSERT_TRUE(encode());
    EXPECT_EQ(runs(), (QStringList{"picture 0 a.mp4", "picture 1 a.mp4", "picture 2 a.mp4",
                                   "picture 0 b.mp4", "picture 1 b.mp4", "picture 2 b.mp4"}));
    const QString word = localizedCapitalized("th");
    EXPECT_EQ(captions.value(0), word + " 1/3");
    EXPECT_TRUE(captions.contains(word + " 3/3"));
    EXPECT_EQ(results(), (QStringList{"made a.mp4", "made b.mp4"}));
    EXPECT_EQ(m_face.results[0].sheet, sheet("a"));
    EXPECT_EQ(m_face.results[0].picturesDrawn, 3);
    EXPECT_EQ(filesInOut(), (QStringList{"a.jpg", "b.jpg"}));
    EXPECT_EQ(markOf(0), RowMark::PuceSuccess);
    EXPECT_EQ(m_face.ends, (QStringList{"analysis", "batch"}));
    EXPECT_EQ(m_face.revealed, path("out/Quorvantel"));
    const QString summary = QString::fromUtf8(contentOf(resumeLogPath()));
    EXPECT_TRUE(summary.contains("destination         : " + sheet("a")));
    EXPECT_EQ(summary.count("   Total speed      : real time / 60.00"), 2);
    expectIdle();
}

TEST_F(EncodingTest, ThePlaceAndKindOfASheetFollowTheSettings)
{
    const struct {
        const char *destination;
        bool subfolder;
        bool inTemporary;
        int dpi;
        const char *sheet;
    } rows[] = {
        {"out", true, false, 0, "out/Quorvantel/a.jpg"},
        {"out", false, true, 1, "out/a.png"},
        {"out/My Quorvantel", true, true, 2, "out/My Quorvantel/a.png"},
        {"out/Quorvantel/", true, false, 1, "out/Quorvantel/a.png"}, // its stills go elsewhere
    };
    const QString film = source("a.mp4");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.sheet);
        m_face.dpi = row.dpi;
        m_face.destinationText = path(row.destination);
        QDir().mkpath(path(row.destination));
        makeController({row.subfolder, row.inTemporary});
        m_controller->draggedFiles({film});
        ASSERT_TRUE(waitForGate());
        ASSERT_TRUE(encode());
        EXPECT_FALSE(QImage(path(row.sheet)).isNull());
        expectIdle();
        writeFile(path("out/Quorvantel/a/mine.txt"), "untouched");
    }
    EXPECT_EQ(contentOf(path("out/Quorvantel/a/mine.txt")), "untouched");
}

TEST_F(EncodingTest, AVanishedSourceLosesItsRowAndTheBatchGoesOn)
{
    ASSERT_TRUE(admit({"a.mp4", "b.mp4", "c.mp4"}));
    const QString preview = m_controller->table().row(0).dico.value("imgPathStr").toString();
    QFile::remove(path("a.mp4"));
    QFile::remove(path("c.mp4"));
    ASSERT_TRUE(encode());
    EXPECT_EQ(results(), (QStringList{"failed a.mp4", "made b.mp4", "failed c.mp4"}));
    EXPECT_EQ(rows(), QStringList{"1 b.mp4"});
    EXPECT_EQ(markOf(0), RowMark::PuceSuccess);
    EXPECT_FALSE(QFile::exists(preview));
    expectIdle();
    QFile::remove(path("b.mp4"));
    ASSERT_TRUE(encode());
    EXPECT_EQ(rows(), QStringList());
    EXPECT_FALSE(m_controller->window().drawerOpen);
    EXPECT_EQ(m_face.ends, (QStringList{"analysis", "batch", "batch"}));
}

TEST_F(EncodingTest, AnExistingSheetIsKeptOrReplacedAsAnswered)
{
    const struct {
        QList<ScriptedPresenter::Answer> answers;
        int questions;
        QStringList expected;
    } rows[] = {
        {{{0, false}, {1, false}}, 2, {"kept a.mp4", "made b.mp4"}},
        {{{0, true}}, 1, {"kept a.mp4", "kept b.mp4"}},
        {{{1, true}}, 1, {"made a.mp4", "made b.mp4"}},
    };
    const QString question = localized("D_go_dossier_destination4Bis");
    for (const bool inTemporary : {false, true}) {
        makeController({true, inTemporary});
        ASSERT_TRUE(admit({"a.mp4", "b.mp4"}));
        for (const auto &row : rows) {
            SCOPED_TRACE(row.expected.join(", ").toStdString() + (inTemporary ? " aside" : ""));
            m_face.results.clear();
            m_presenter.shown.clear();
            m_presenter.answers = row.answers;
            writeFile(sheet("a"), "old");
            writeFile(sheet("b"), "old");
            ASSERT_TRUE(encode());
            EXPECT_EQ(results(), row.expected);
            EXPECT_EQ(m_presenter.countOf(question), row.questions);
            EXPECT_EQ(m_presenter.shown.first().detail, sheet("a"));
            for (int i = 0; i < 2; ++i) {
                const bool kept = row.expected[i].startsWith("kept");
                EXPECT_EQ(contentOf(sheet(i == 0 ? "a" : "b")) == "old", kept);
                EXPECT_EQ(markOf(i), kept ? RowMark::PuceKept : RowMark::PuceSuccess);
            }
            EXPECT_EQ(filesInOut(), (QStringList{"a.jpg", "b.jpg"}));
            expectIdle();
        }
    }
}

TEST_F(EncodingTest, ASheetOfAnotherSourceGoesOnlyWhenTheUserHasSeenBothNames)
{
    const QString end = " (" + lastPathComponent(m_folder.path()) + ").jpg";
    const struct {
        QList<ScriptedPresenter::Answer> answers; // about b and c
        int questions;
        QStringList files;
    } rows[] = {
        {{}, 2, {"b" + end, "b.jpg", "c" + end, "c.jpg"}},
        {{{1, false}, {0, false}}, 2, {"b.jpg", "c" + end, "c.jpg"}},
        {{{1, true}}, 1, {"b.jpg", "c.jpg"}},
    };
    ASSERT_TRUE(admit({"a.mp4"}));
    ASSERT_TRUE(encode());
    const QByteArray theirs = contentOf(sheet("a"));
    for (const auto &row : rows) {
        makeController({});
        QDir(path("out/Quorvantel")).removeRecursively();
        writeFile(sheet("b"), theirs);
        writeFile(sheet("c"), theirs);
        m_presenter.shown.clear();
        m_presenter.answers = row.answers;
        ASSERT_TRUE(admit({"b.mp4", "c.mp4"}));
        ASSERT_TRUE(encode());
        EXPECT_EQ(filesInOut(), row.files);
        EXPECT_EQ(m_presenter.countOf(localized("sheetOfAnother")), row.questions);
        const QString shown = m_presenter.shown.first().detail;
        EXPECT_TRUE(shown.contains(path("a.mp4")) && shown.contains(path("b.mp4")));
    }
}

TEST_F(EncodingTest, StopEndsTheBatchInWhateverStepItComes)
{
    // The run that is waited for before the stop; none: at once.
    for (const QString run : {"", "picture 0 picture-hang-0.mp4", "picture 1 picture-hang-1.mp4",
                              "picture 2 picture-hang-2.mp4"}) {
        SCOPED_TRACE(run.toStdString());
        const QString name = run.isEmpty() ? "early.mp4" : run.section(' ', -1);
        makeController({});
        ASSERT_TRUE(admit({name, "next.mp4"}));
        m_face.ends.clear();
        m_face.results.clear();
        m_controller->iba_batchGoBt();
        if (!run.isEmpty()) {
            ASSERT_TRUE(waitForRun(run));
        }
        if (run.startsWith("picture 1")) {
            m_controller->iba_taskStopBt(StopControl::pauseSegment);
        }
        m_controller->iba_taskStopBt(StopControl::stopSegment);
        m_controller->iba_taskStopBt(StopControl::stopSegment);
        ASSERT_TRUE(waitForBatch(3000));
        EXPECT_TRUE(hasNoChildren());
        EXPECT_EQ(m_face.ends, QStringList{"stopped"});
        EXPECT_EQ(filesInOut(), QStringList());
        const WindowState &window = m_controller->window();
        EXPECT_TRUE(window.goEnabled && window.stop.offersPause());
        EXPECT_EQ(markOf(1), RowMark::Puce);
        if (!run.isEmpty()) {
            EXPECT_EQ(runs().count(run), 1) << "no other attempt at it";
            EXPECT_EQ(results(), QStringList{"stopped " + name});
            EXPECT_EQ(markOf(0), RowMark::PuceStopped);
        }
        expectIdle();
    }
}

TEST_F(EncodingTest, AStopBetweenTwoRowsTellsNoRowTwice)
{
    const auto stop = [this] { m_controller->iba_taskStopBt(StopControl::stopSegment); };
    const auto stopSoon = [&] {
        QMetaObject::invokeMethod(m_controller.get(), stop, Qt::QueuedConnection);
    };
    ASSERT_TRUE(admit({"a.mp4", "b.mp4"}));
    for (const std::function<void()> &stopping : {std::function(stop), std::function(stopSoon)}) {
        m_face.results.clear();
        m_face.onRowFinished = stopping;
        ASSERT_TRUE(encode());
        EXPECT_EQ(results(), QStringList{"made a.mp4"});
        EXPECT_EQ(m_face.ends.last(), "stopped");
        EXPECT_EQ(filesInOut(), QStringList{"a.jpg"});
        expectIdle();
        QFile::remove(sheet("a"));
    }
    m_face.onRowFinished = nullptr;
    m_face.results.clear();
    ASSERT_TRUE(encode());
    EXPECT_EQ(results(), (QStringList{"made a.mp4", "made b.mp4"})) << "the next batch is whole";
}

TEST_F(EncodingTest, WhatComesAfterAStopDoesNotReachTheNextBatch)
{
    ASSERT_TRUE(admit({"a.mp4", "b.mp4"}));
    const std::function<void()> late[] = {
        [this] { m_controller->iba_taskStopBt(StopControl::pauseSegment); },
        [this] { m_controller->draggedFiles(sources({"late.mp4"})); },
    };
    for (const auto &comesLate : late) {
        QFile::remove(sheet("a"));
        m_face.results.clear();
        m_face.onWindow = [&] {
            if (QFileInfo::exists(path("out/Quorvantel/a/sheet"))) { // it is being drawn
                m_face.onWindow = nullptr;
                m_controller->iba_taskStopBt(StopControl::stopSegment);
                comesLate();
            }
        };
        ASSERT_TRUE(encode());
        EXPECT_EQ(results(), QStringList{"made a.mp4"});
        ASSERT_TRUE(waitForGate());
        EXPECT_TRUE(m_controller->window().stop.offersPause());
    }
    QFile::remove(sheet("a"));
    m_face.results.clear();
    ASSERT_TRUE(encode());
    EXPECT_EQ(results(), (QStringList{"made a.mp4", "made b.mp4", "made late.mp4"}));
}

TEST_F(EncodingTest, APauseBetweenTwoRowsHoldsTheNextOneBack)
{
    ASSERT_TRUE(admit({"a.mp4", "b.mp4"}));
    m_face.onRowFinished = [this] {
        m_face.onRowFinished = nullptr;
        m_controller->iba_taskStopBt(StopControl::pauseSegment);
    };
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitUntil([this] { return m_face.results.size() == 1; }));
    EXPECT_FALSE(waitUntil([this] { return runs().contains("picture 0 b.mp4"); }, 200));
    EXPECT_TRUE(isEncoding());
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    ASSERT_TRUE(waitForBatch());
    EXPECT_EQ(results(), (QStringList{"made a.mp4", "made b.mp4"}));
}

TEST_F(EncodingTest, ControlsAtTheWrongTimeDoNothing)
{
    ASSERT_TRUE(admit({"picture-slow.mp4", "b.mp4"}));
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    m_controller->iba_taskStopBt(StopControl::stopSegment);
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("picture 1 picture-slow.mp4"));
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForBatch());
    EXPECT_EQ(results(), (QStringList{"made picture-slow.mp4", "made b.mp4"}));
    EXPECT_EQ(markOf(0), RowMark::PuceSuccess);
}
