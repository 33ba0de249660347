// The table's rows, Go, and a drop while a batch runs.
#include "controller/controller_fixture.h"

using namespace qv;

namespace
{

class BatchTest : public ControllerTest
{
protected:
    // A batch that stands in the picture of the row's name until it is stopped.
    bool startHangingBatch(const QStringList &names, const QString &hanging)
    {
        if (!admit(names)) {
            return false;
        }
        m_controller->iba_batchGoBt();
        return waitForRun("picture 0 " + hanging);
    }
    void remove(const QList<int> &selected)
    {
        m_controller->whichArrayController().select(selected);
        m_controller->encBatchRemove(appDelegate::Sender::Button);
    }
    bool stopBatch()
    {
        m_controller->iba_taskStopBt(StopControl::stopSegment);
        return waitForBatch(3000);
    }
};

} // namespace

TEST_F(BatchTest, RemovedRowsTakeTheirPreviewsWithThemAndTheOthersAreRenumbered)
{
    ASSERT_TRUE(admit({"a.mp4", "b.mp4", "c.mp4", "d.mp4"}));
    const QString preview = m_controller->table().row(1).dico.value("imgPathStr").toString();
    ASSERT_TRUE(QFile::exists(preview));
    remove({});
    EXPECT_EQ(rows().size(), 4) << "nothing is selected";
    remove({3, 1, 9, -1});
    EXPECT_EQ(rows(), (QStringList{"1 a.mp4", "2 c.mp4"}));
    EXPECT_FALSE(QFile::exists(preview));
    m_controller->encBatchRemove(appDelegate::Sender::Internal);
    EXPECT_EQ(rows(), QStringList{"1 c.mp4"});
    remove({0});
    EXPECT_FALSE(m_controller->window().goEnabled || m_controller->window().drawerOpen);
    ASSERT_TRUE(admit({"a.mp4"}));
    EXPECT_EQ(rows(), QStringList{"1 a.mp4"}) << "a removed source may come again";
}

TEST_F(BatchTest, TheRowInProgressCannotBeRemoved)
{
    ASSERT_TRUE(startHangingBatch({"a.mp4", "picture-hang.mp4", "c.mp4"}, "picture-hang.mp4"));
    EXPECT_EQ(m_controller->encBatchInprogressRowIdentification(), 1);
    remove({0, 1});
    EXPECT_EQ(m_presenter.countOf(localized("D_batch_1")), 1);
    EXPECT_EQ(rows().size(), 3);
    remove({0});
    EXPECT_EQ(m_controller->encBatchInprogressRowIdentification(), 0);
    m_presenter.answers = {{0, false}};
    m_controller->encBatchRemoveAll(appDelegate::Sender::Button);
    EXPECT_EQ(rows(), QStringList{"1 picture-hang.mp4"});
    m_controller->undoRemoveAll();
    EXPECT_EQ(rows(), (QStringList{"1 picture-hang.mp4", "2 c.mp4"}));
    EXPECT_TRUE(stopBatch());
    EXPECT_EQ(m_controller->encBatchInprogressRowIdentification(), -1);
}

TEST_F(BatchTest, RowsRemovedAheadOfABatchAreNotEncoded)
{
    ASSERT_TRUE(admit({"picture-slow.mp4", "b.mp4", "c.mp4"}));
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("picture 1 picture-slow.mp4"));
    remove({1});
    ASSERT_TRUE(waitForBatch());
    EXPECT_EQ(results(), (QStringList{"made picture-slow.mp4", "made c.mp4"}));
}

TEST_F(BatchTest, GoNeedsRowsAndAFolderToWriteInto)
{
    m_controller->iba_batchGoBt();
    EXPECT_FALSE(isEncoding());
    ASSERT_TRUE(admit({"a.mp4"}));
    const QString alert = localized("D_go_dossier_destination1");
    for (const QString &nowhere : {QString(), path("missing"), path("a.mp4")}) {
        m_face.destinationText = nowhere;
        m_controller->iba_batchGoBt();
        EXPECT_FALSE(isEncoding()) << nowhere.toStdString();
        EXPECT_EQ(m_face.destinationText, "");
    }
    EXPECT_EQ(m_presenter.countOf(alert), 3);
    EXPECT_EQ(m_face.folderChoices, 3);
    m_face.chosenFolder = path("out");
    m_face.destinationText = path("missing");
    m_controller->iba_batchGoBt();
    EXPECT_FALSE(isEncoding()) << "choosing a folder is no Go";

    writeFile(path("out/Quorvantel"), "a file in the way");
    m_controller->iba_batchGoBt();
    EXPECT_FALSE(isEncoding());
    EXPECT_EQ(m_presenter.countOf(localized("destinationUnwritable")), 1);
    EXPECT_TRUE(m_face.results.isEmpty()) << "no row failed over it";
    QFile::remove(path("out/Quorvantel"));

    m_face.destinationText.clear();
    m_face.defaultText = path("out");
    ASSERT_TRUE(encode());
    EXPECT_EQ(results(), QStringList{"made a.mp4"});

    m_face.defaultText.clear();
    m_face.destinationText = "~/Movies/";
    ASSERT_TRUE(encode());
    EXPECT_TRUE(QFileInfo::exists(QDir::homePath() + "/Movies/Quorvantel/a.jpg"))
        << "the user's own folder is made";
    EXPECT_EQ(m_face.defaultText, "~/Movies/") << "it becomes the default";
    QDir(QDir::homePath() + "/Movies").removeRecursively();
}

TEST_F(BatchTest, ADropPausesTheBatchUntilItIsAnalysed)
{
    ASSERT_TRUE(admit({"picture-slow.mp4"}));
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("picture 0 picture-slow.mp4"));
    m_controller->draggedFiles(sources({"late.mp4"}));
    EXPECT_TRUE(m_log.contains("process             : suspend"));
    EXPECT_FALSE(m_controller->window().stop.enabled);
    EXPECT_TRUE(m_controller->window().stop.waitsForAnalysis);
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), (QStringList{"1 picture-slow.mp4", "2 late.mp4"}));
    EXPECT_TRUE(m_controller->window().stop.enabled && m_controller->window().stop.offersPause());
    EXPECT_TRUE(isEncoding()) << "the analysis took no turn of the batch's";
    ASSERT_TRUE(waitForBatch());
    EXPECT_EQ(results(), (QStringList{"made picture-slow.mp4", "made late.mp4"}));

    m_controller->iba_batchGoBt();
    m_controller->draggedFiles({path("late.mp4")});
    m_presenter.answers = {{1, true}};
    ASSERT_TRUE(waitForBatch()) << "a drop of nothing new resumes it, too";
}

TEST_F(BatchTest, ABatchThatTheUserPausedStaysPausedThroughADrop)
{
    ASSERT_TRUE(admit({"picture-slow.mp4"}));
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("picture 0 picture-slow.mp4"));
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    const WindowState &window = m_controller->window();
    EXPECT_EQ(window.encoding.actionCaption, localized("D_action_pause"));
    ASSERT_TRUE(admit({"late.mp4"}));
    EXPECT_FALSE(waitUntil([this] { return runs().contains("picture 1 picture-slow.mp4"); }, 500));
    EXPECT_FALSE(window.stop.offersPause());
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    EXPECT_EQ(window.encoding.actionCaption, "picture-slow.mp4");
    ASSERT_TRUE(waitForBatch());
    EXPECT_EQ(results().size(), 2);
}

TEST_F(BatchTest, ABatchThatEndsDuringAnAnalysisLeavesTheGateClosedAndItsControlUsable)
{
    ASSERT_TRUE(startHangingBatch({"picture-hang.mp4"}, "picture-hang.mp4"));
    m_controller->draggedFiles(sources({"analysis-slow.mp4", "queued.mp4"}));
    ASSERT_TRUE(waitForRun("analysis -1 analysis-slow.mp4"));
    ASSERT_TRUE(stopBatch());
    EXPECT_FALSE(m_controller->isGateOpen());
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), (QStringList{"1 picture-hang.mp4", "2 analysis-slow.mp4", "3 queued.mp4"}));
    EXPECT_TRUE(m_controller->window().stop.enabled && m_controller->window().goEnabled);
}
