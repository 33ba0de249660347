// Pictures that do not come as they should.
#include "controller/controller_fixture.h"

#include <QImage>

using namespace qv;

namespace
{

class PicturesTest : public ControllerTest
{
protected:
    // Encodes the one source; gives its result.
    RowResult encoded(const QString &name)
    {
        EXPECT_TRUE(admit({name}));
        forgetRuns();
        EXPECT_TRUE(encode());
        return m_face.results.isEmpty() ? RowResult() : m_face.results.last();
    }
    int attempts(int picture, const QString &name) const
    {
        return static_cast<int>(runs().count(QString("picture %1 %2").arg(picture).arg(name)));
    }
    void expectFailedWithoutSheet(const RowResult &result, const QString &words)
    {
        EXPECT_EQ(result.status, RowResult::Status::Failed);
        EXPECT_TRUE(result.reason.contains(words)) << result.reason.toStdString();
        EXPECT_EQ(m_controller->table().row(0).reason, result.reason);
        EXPECT_EQ(markOf(0), RowMark::PuceFailure);
        EXPECT_EQ(filesInOut(), QStringList());
    }
};

} // namespace

TEST_F(PicturesTest, OneThatComesWrongIsTakenAgainAndOneThatNeverComesLeavesItsCellEmpty)
{
    const struct {
        const char *name;
        int drawn;
        QList<int> attempts;
    } rows[] = {
        {"picture-intra-1.mp4", 3, {1, 2, 1}},
        {"picture-far-1.mp4", 3, {1, 2, 1}}, // shows a frame behind the next one's stamp
        {"picture-flood.mp4", 3, {1, 1, 1}},
        {"picture-missing-1.mp4", 2, {1, 7, 1}},
        {"picture-crash-1.mp4", 2, {1, 8, 1}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const RowResult result = encoded(row.name);
        EXPECT_EQ(result.status, RowResult::Status::Made);
        EXPECT_EQ(result.picturesDrawn, row.drawn);
        EXPECT_FALSE(QImage(result.sheet).isNull());
        EXPECT_EQ((QList<int>{attempts(0, row.name), attempts(1, row.name), attempts(2, row.name)}),
                  row.attempts);
        makeController({});
    }
}

TEST_F(PicturesTest, AToolThatHangsOnceCostsOneCellAndOneThatHangsOnFailsTheRow)
{
    setToolIdleLimit(0.3);
    const RowResult once = encoded("picture-hang-1.mp4");
    EXPECT_EQ(once.status, RowResult::Status::Made);
    EXPECT_EQ(once.picturesDrawn, 2);
    EXPECT_EQ(attempts(1, "picture-hang-1.mp4"), 2) << "with the others, and alone";
    rmCocoa(path("out/Quorvantel"));
    makeController({});
    m_face.thumbnails = 9;
    expectFailedWithoutSheet(encoded("picture-hang.mp4"), "neither printed nor computed");
    EXPECT_EQ(runs().size(), 3) << "not the idle limit for each of nine";
}

TEST_F(PicturesTest, TheMovieFrameworksToolTakesAllAtOnceAndWithoutItTheRowFails)
{
    const QString film = path("analysis-refuse.mov");
    for (const char *name : {"analysis-refuse.mov", "analysis-refuse.mp4"}) {
        m_movies.opened << source(name);
    }
    m_controller->draggedFiles({film, path("analysis-refuse.mp4")});
    ASSERT_TRUE(waitForGate());
    ASSERT_EQ(rows(), QStringList{"1 analysis-refuse.mov"}) << "only for that container";
    EXPECT_FALSE(m_controller->table().row(0).img().isNull());
    ASSERT_TRUE(encode());
    expectFailedWithoutSheet(m_face.results.value(0), "qtThumbs could not be started");

    writeScript(m_bundle.tool("qtThumbs"), "printf '%s\\n' \"$@\" > \"$FAKE_TOOL_LOG.qt\"\n"
                                           "for last; do :; done\n"
                                           "for i in 00 01 02; do\n"
                                           "  cp \"$FAKE_TOOL_PICTURE\" \"$last/img$i.jpg\"\n"
                                           "done\n"
                                           "echo 'pourcentage    : 100'\n");
    ASSERT_TRUE(encode());
    EXPECT_EQ(m_face.results.last().picturesDrawn, 3);
    const QStringList arguments =
        QString::fromUtf8(contentOf(path("scratch/tools/runs.qt"))).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(arguments.size(), 11);
    EXPECT_EQ(arguments.mid(0, 2), (QStringList{"-i", film}));
    EXPECT_EQ(arguments.mid(6, 2), (QStringList{"-tc", "0:00:07.500-0:00:30.000-0:01:00.000"}));
    EXPECT_EQ(arguments.mid(8), (QStringList{"-y", "-o", path("out/Quorvantel/analysis-refuse")}));
}

TEST_F(PicturesTest, IntraFramesAloneAreTrustedOnlyAfterATrial)
{
    m_face.thumbnails = 9;
    const auto runsOf = [&](const QString &name) {
        EXPECT_EQ(encoded(name).picturesDrawn, 9);
        return QList<int>{attempts(0, name), attempts(4, name), attempts(8, name)};
    };
    EXPECT_EQ(runsOf("a.mp4"), (QList<int>{1, 2, 1})) << "the middle one twice";
    makeController({});
    EXPECT_EQ(runsOf("picture-open.mp4"), (QList<int>{2, 3, 2})) << "all again";
}

TEST_F(PicturesTest, SeveralToolsWorkAtOnceAndPauseAndStopAreForAll)
{
    const QString name = "picture-hang.mp4";
    ASSERT_TRUE(admit({name}));
    m_face.thumbnails = 9;
    m_controller->setToolsPerRow(2);
    m_controller->iba_batchGoBt();
    ASSERT_TRUE(waitForRun("picture 0 " + name));
    ASSERT_TRUE(waitForRun("picture 5 " + name)) << "the other tool's first";
    m_controller->iba_taskStopBt(StopControl::pauseSegment);
    EXPECT_FALSE(m_controller->window().stop.offersPause());
    m_controller->iba_taskStopBt(StopControl::stopSegment);
    ASSERT_TRUE(waitForBatch());
    EXPECT_EQ(markOf(0), RowMark::PuceStopped);
    EXPECT_EQ(filesInOut(), QStringList());
}
