// The quick road, and the ways from it to the exact one.
#include "controller/controller_fixture.h"
#include "controller/store_keys.h"

#include <QImage>

using namespace qv;

namespace
{

class QuickPicturesTest : public ControllerTest
{
protected:
    QuickPicturesTest()
    {
        m_face.quick = true;
        QFile::link(fakeTool(), m_bundle.tool("quickThumbs"));
        m_face.onWindow = [this] {
            const QVariant display =
                m_preferences.prefReadChildDico(keys::work, QStringLiteral("appkyDisplay"));
            if (display.isValid()) {
                m_stamps = display.toMap().value("timecode").toMap();
            }
        };
    }
    // A source that may be as long as the tools say.
    bool admitLarge(const QString &name)
    {
        constexpr qint64 large = 20'000'000;
        makeController(m_placement);
        forgetRuns();
        QFile::resize(source(name), large);
        m_controller->draggedFiles({path(name)});
        return waitForGate();
    }
    RowResult made(const QString &name)
    {
        EXPECT_TRUE(admitLarge(name));
        EXPECT_TRUE(encode());
        return m_face.results.isEmpty() ? RowResult() : m_face.results.last();
    }
    QStringList stamps() const
    {
        QStringList texts;
        for (const QVariant &stamp : m_stamps) {
            texts << stamp.toString();
        }
        return texts;
    }
    // Runs of the quick tool and of ffmpeg: "probe quick picture picture".
    std::string phases() const
    {
        QStringList phases;
        for (const QString &run : runs()) {
            phases << run.section(' ', 0, 0);
        }
        return phases.join(' ').toStdString();
    }

    Placement m_placement;
    QVariantMap m_stamps; // of the pictures of the sheet that was drawn last
};

const QStringList plannedStamps{"0:00:07", "0:00:30", "0:01:00"};

} // namespace

TEST_F(QuickPicturesTest, TakesAllInOneRunAndStampsThemWithWhenTheyAre)
{
    const RowResult result = made("a.duration-90.mp4");
    EXPECT_EQ(phases(), "probe quick");
    EXPECT_TRUE(result.isQuick);
    EXPECT_EQ(result.picturesDrawn, 3);
    EXPECT_EQ(stamps(), (QStringList{"0:00:09", "0:00:32", "0:01:02"}));
    EXPECT_FALSE(QImage(result.sheet).isNull());
}

TEST_F(QuickPicturesTest, TheToolThatDescribedASourceTakesItsPicturesWhereTheyFollow)
{
    m_placement.stillsInTemporaryFolder = true;
    m_placement.quickPicturesFollow = true;
    const struct {
        QString name;
        const char *phases;
    } rows[] = {
        {"a", "probe kept"},
        {"quick-gone", "probe quick"}, // has ended before it is asked
        {"quick-crash", "probe kept picture picture picture"},
        {"probe-crash", "probe analysis preview quick"},
    };
    for (const auto &row : rows) {
        const RowResult result = made(row.name + ".duration-90.mp4");
        EXPECT_EQ(phases(), row.phases);
        EXPECT_EQ(result.picturesDrawn, 3) << result.reason.toStdString();
        EXPECT_EQ(result.isQuick, row.name != "quick-crash");
    }
    ASSERT_TRUE(admitLarge("b.duration-90.mp4"));
    m_controller.reset();
    EXPECT_TRUE(hasNoChildren()) << "the tool waits for a batch that never comes";
}

TEST_F(QuickPicturesTest, WithoutTheToolOrTheWishTheRoadIsTheExactOne)
{
    m_face.quick = false;
    EXPECT_FALSE(made("a.duration-90.mp4").isQuick);
    EXPECT_EQ(phases(), "probe picture picture picture");
    EXPECT_EQ(stamps(), plannedStamps);
    rmCocoa(path("out/Quorvantel"));

    m_face.quick = true;
    QFile::remove(m_bundle.tool("quickThumbs"));
    EXPECT_FALSE(made("a.duration-90.mp4").isQuick);
    EXPECT_EQ(phases(), "analysis preview picture picture picture");
    EXPECT_EQ(stamps(), plannedStamps);
}

TEST_F(QuickPicturesTest, WhatTheQuickToolDoesNotGiveFfmpegDoes)
{
    setToolIdleLimit(0.3);
    const struct {
        QStringList names;
        const char *phases;
        const char *log;
        bool isQuick;
        bool hasPlannedStamps;
    } rows[] = {
        {{"quick-silent", "quick-crash", "quick-hang", "quick-garbage", "quick-missing"},
         "probe quick picture picture picture",
         "quick pictures      :-( quickThumbs ",
         false,
         true},
        {{"quick-far"}, "probe quick", "", true, true},
        {{"probe-silent", "probe-crash", "probe-hang", "probe-garbage", "probe-refuse"},
         "probe analysis preview quick",
         "quickThumbs         :-( ",
         true,
         false},
    };
    for (const auto &row : rows) {
        for (const QString &name : row.names) {
            SCOPED_TRACE(name.toStdString());
            const LogCapture log;
            const RowResult result = made(name + ".duration-90.mp4");
            EXPECT_EQ(result.status, RowResult::Status::Made) << result.reason.toStdString();
            EXPECT_EQ(result.picturesDrawn, 3);
            EXPECT_EQ(result.isQuick, row.isQuick);
            EXPECT_EQ(phases(), row.phases);
            EXPECT_TRUE(log.contains(row.log));
            EXPECT_TRUE(!row.hasPlannedStamps || stamps() == plannedStamps);
        }
    }
}

TEST_F(QuickPicturesTest, AStopEndsTheQuickRunAndAPauseHoldsIt)
{
    ASSERT_TRUE(admitLarge("quick-hang.mp4"));
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("quick -1 quick-hang.mp4"));
    m_controller->iba_taskStopBt(StopControl::stopSegment);
    EXPECT_TRUE(waitForBatch());
    EXPECT_EQ(results(), QStringList{"stopped quick-hang.mp4"});
    EXPECT_EQ(filesInOut(), QStringList());
    EXPECT_EQ(phases(), "probe quick") << "nobody takes them exactly";

    ASSERT_TRUE(admitLarge("quick-slow.mp4"));
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("quick -1 quick-slow.mp4"));
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    EXPECT_TRUE(isEncoding());
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    EXPECT_TRUE(waitForBatch());
    EXPECT_TRUE(m_face.results.last().isQuick);
}
