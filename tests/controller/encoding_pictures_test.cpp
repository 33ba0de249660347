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

TEST_F(PicturesTest, OneMissingAmongIntraFramesIsTakenFromAnyFrame)
{
    const QString name = "picture-intra-1.mp4";
    const RowResult result = encoded(name);
    EXPECT_EQ(result.status, RowResult::Status::Made);
    EXPECT_EQ(result.picturesDrawn, 3);
    EXPECT_EQ(attempts(0, name), 1);
    EXPECT_EQ(attempts(1, name), 2);
    EXPECT_TRUE(m_log.contains("picture             :-( #1, attempt 1"));
}

TEST_F(PicturesTest, OneThatNeverComesLeavesItsCellEmpty)
{
    for (const char *name : {"picture-missing-1.mp4", "picture-crash-1.mp4"}) {
        const RowResult result = encoded(name);
        EXPECT_EQ(result.status, RowResult::Status::Made) << name;
        EXPECT_EQ(result.picturesDrawn, 2) << name;
        EXPECT_GT(attempts(1, name), 2) << name;
        EXPECT_TRUE(m_controller->table().row(0).reason.isEmpty());
        const QImage made(result.sheet);
        ASSERT_FALSE(made.isNull());
        makeController({});
    }
}

TEST_F(PicturesTest, WithoutAnyTheRowFailsAndLeavesNoSheet)
{
    for (const bool inTemporary : {false, true}) {
        makeController({true, inTemporary});
        expectFailedWithoutSheet(encoded("picture-missing.mp4"), "no picture");
        makeController({true, inTemporary});
        expectFailedWithoutSheet(encoded("picture-crash.mp4"), "signal 11");
    }
}

TEST_F(PicturesTest, AToolThatHangsOnceCostsOneCellAndOneThatHangsOnFailsTheRow)
{
    setToolIdleLimit(0.3);
    const RowResult once = encoded("picture-hang-1.mp4");
    EXPECT_EQ(once.status, RowResult::Status::Made);
    EXPECT_EQ(once.picturesDrawn, 2);
    EXPECT_EQ(attempts(1, "picture-hang-1.mp4"), 1);
    rmCocoa(path("out/Quorvantel"));
    makeController({});
    m_face.thumbnails = 9;
    expectFailedWithoutSheet(encoded("picture-hang.mp4"), "neither printed nor computed");
    EXPECT_EQ(runs().size(), 3) << "not the idle limit for each of nine";
}

TEST_F(PicturesTest, AToolThatIsGoneFailsEachRowAndTheBatchEnds)
{
    ASSERT_TRUE(admit({"a.mp4", "b.mp4"}));
    QFile::remove(m_bundle.tool("ffmpeg"));
    ASSERT_TRUE(encode());
    EXPECT_EQ(results(), (QStringList{"failed a.mp4", "failed b.mp4"}));
    EXPECT_TRUE(m_face.results[0].reason.contains("could not be started"));
    EXPECT_TRUE(m_log.contains("tlStart launch error:-( = 3 (from: "));
    EXPECT_EQ(m_face.ends.last(), "batch");
    EXPECT_EQ(filesInOut(), QStringList());
}

TEST_F(PicturesTest, OneThatShowsTheNextOnesFrameIsTakenAgain)
{
    const QString name = "picture-same.mp4";
    EXPECT_EQ(encoded(name).picturesDrawn, 3);
    EXPECT_EQ(attempts(0, name), 2);
    EXPECT_EQ(attempts(1, name), 2);
    EXPECT_EQ(attempts(2, name), 1);
}

TEST_F(PicturesTest, AFloodOfProgressLinesDoesNoHarm)
{
    EXPECT_EQ(encoded("picture-flood.mp4").picturesDrawn, 3);
}

TEST_F(PicturesTest, TheMovieFrameworksToolTakesAllAtOnce)
{
    const QString film = source("analysis-refuse.mov");
    m_movies->opened = {film};
    m_movies->picture = samplePicture();
    write(m_bundle.tool("qtThumbs"), "#!/bin/sh\n"
                                     "printf '%s\\n' \"$@\" > \"$FAKE_TOOL_LOG.qt\"\n"
                                     "for last; do :; done\n"
                                     "for i in 00 01 02; do\n"
                                     "  cp \"$FAKE_TOOL_PICTURE\" \"$last/img$i.jpg\"\n"
                                     "done\n"
                                     "echo 'pourcentage    : 100'\n");
    QFile::setPermissions(m_bundle.tool("qtThumbs"), QFile::ReadOwner | QFile::ExeOwner);
    m_controller->draggedFiles({film});
    ASSERT_TRUE(waitForGate());
    ASSERT_TRUE(encode());
    ASSERT_EQ(results(), QStringList{"made analysis-refuse.mov"});
    EXPECT_EQ(m_face.results[0].picturesDrawn, 3);
    const QStringList arguments =
        QString::fromUtf8(contentOf(path("runs.qt"))).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(arguments.size(), 11);
    EXPECT_EQ(arguments.mid(0, 2), (QStringList{"-i", film}));
    EXPECT_EQ(arguments.mid(6, 2), (QStringList{"-tc", "0:00:07-0:00:30-0:01:00"}));
    EXPECT_EQ(arguments.mid(8), (QStringList{"-y", "-o", path("out/Quorvantel/analysis-refuse")}));
}

TEST_F(PicturesTest, WithoutTheMovieFrameworksToolTheRowFails)
{
    const QString film = source("analysis-refuse.mov");
    m_movies->opened = {film};
    m_movies->picture = samplePicture();
    m_controller->draggedFiles({film});
    ASSERT_TRUE(waitForGate());
    ASSERT_TRUE(encode());
    expectFailedWithoutSheet(m_face.results.value(0), "");
}
