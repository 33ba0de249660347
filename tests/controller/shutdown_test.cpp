#include "controller/controller_fixture.h"

#include "controller/store_keys.h"

#include <QCoreApplication>

using namespace qv;

namespace
{

class ShutdownTest : public ControllerTest
{
protected:
    // A batch of a row whose first picture never comes.
    void startHangingBatch()
    {
        ASSERT_TRUE(admit({"film.picture-hang.mp4", "other.mp4"}));
        m_controller->iba_batchGoBt();
        ASSERT_TRUE(waitForRun("picture 0 film.picture-hang.mp4"));
        ASSERT_FALSE(filesInOut().isEmpty()) << "stills are being made";
    }
    // Runs a batch whose user answers "replace, and the same for all" after something else
    // happened.
    void askToReplace(const std::function<void()> &meanwhile)
    {
        ASSERT_TRUE(admit({"film.mp4", "other.mp4"}));
        writeFile(sheet("film"), "an older sheet");
        m_presenter.answers = {{1, true}};
        m_presenter.whileShown = meanwhile;
        EXPECT_TRUE(encode());
        QCoreApplication::processEvents();
    }
    void expectNothingLeft()
    {
        EXPECT_TRUE(hasNoChildren());
        EXPECT_EQ(filesInOut(), QStringList());
        EXPECT_TRUE(m_controller->table().isEmpty());
        EXPECT_FALSE(fileExists(path("scratch")));
        for (const QString &key : {keys::currentFile, keys::work, keys::finish, keys::replaceFiles,
                                   keys::analysisQueue, keys::analysisSource, keys::flagFinish}) {
            EXPECT_FALSE(m_preferences.prefRead(key).isValid()) << key.toStdString();
        }
        // No step comes late.
        forgetRuns();
        QCoreApplication::processEvents();
        EXPECT_EQ(runs(), QStringList());
    }
};

} // namespace

TEST_F(ShutdownTest, QuittingABatchLeavesNoToolAndNoStills)
{
    startHangingBatch();
    m_controller->tasklauncherSuspend();
    EXPECT_TRUE(m_controller->iba_menuQuit());
    EXPECT_FALSE(m_log.contains("analysis stop       = 1")) << "nothing was analysed";
    expectNothingLeft();
}

TEST_F(ShutdownTest, QuittingAtOnceAsksNothingAndEndsAnAnalysis)
{
    m_controller->draggedFiles(sources({"film.analysis-hang.mp4", "other.mp4"}));
    ASSERT_TRUE(waitForRun("analysis -1 film.analysis-hang.mp4"));
    EXPECT_TRUE(m_controller->iba_menuQuit(appDelegate::Quit::AtOnce));
    EXPECT_TRUE(m_presenter.shown.isEmpty());
    expectNothingLeft();
    m_controller->draggedFiles(sources({"late.mp4"}));
    expectNothingLeft();
}

// While a question of the batch is open the event loop runs, so a stop or the end may come then.
TEST_F(ShutdownTest, AStopDuringAQuestionOfTheBatchStopsIt)
{
    askToReplace([this] {
        m_controller->iba_taskStopBt(StopControl::stopSegment);
        QCoreApplication::processEvents();
    });
    EXPECT_EQ(results(), QStringList{"stopped film.mp4"});
    EXPECT_EQ(filesInOut(), QStringList{"film.jpg"});
    EXPECT_EQ(contentOf(sheet("film")), "an older sheet");
    EXPECT_EQ(m_face.ends, (QStringList{"analysis", "stopped"}));
}

TEST_F(ShutdownTest, QuittingDuringAQuestionOfTheBatchLeavesEverythingAsItWas)
{
    askToReplace([this] { EXPECT_TRUE(m_controller->iba_menuQuit(appDelegate::Quit::AtOnce)); });
    EXPECT_EQ(contentOf(sheet("film")), "an older sheet");
    EXPECT_TRUE(QFile::remove(sheet("film")));
    expectNothingLeft();
}
