// From a drop to the sheet with the installed ffmpeg, on one clip of its synthetic sources.
#include "controller/controller_fixture.h"
#include "process/tool_run.h"

#include <QImage>

using namespace qv;

namespace
{

// Four seconds of 160 x 120, made once.
const QString &clip()
{
    static const QString path = [] {
        const QString file = QDir::tempPath() + "/clip.mp4";
        taskArray1PipeMax({"/bin/sh", "-c",
                           "ffmpeg -v error -f lavfi -i testsrc=size=160x120:rate=10:duration=4 "
                           "-c:v mpeg4 -g 10 -y " +
                               file},
                          ErrorText::Merged);
        return file;
    }();
    return path;
}

class RoadTest : public ControllerTest
{
protected:
    RoadTest() : ControllerTest(TestBundle::Ffmpeg::Real) {}
    QString filmNamed(const QString &name) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile::copy(clip(), path(name));
        return path(name);
    }
};

} // namespace

TEST_F(RoadTest, LeadsFromADropToAWholeSheet)
{
    write(path("folder/error.mp4"), "no video");
    const QString film = filmNamed("folder/Trial and Error.mp4");
    m_controller->draggedFiles({path("folder")});
    ASSERT_TRUE(waitForGate());
    ASSERT_EQ(rows(), QStringList{"1 Trial and Error.mp4"});
    EXPECT_FALSE(m_face.reasonOf("error.mp4").isEmpty());
    const BatchItem &row = m_controller->table().row(0);
    EXPECT_TRUE(plainText(row.src).startsWith("Trial and Error.mp4\n(160x)120p10\n"));
    EXPECT_EQ(row.img().width(), 160);

    ASSERT_TRUE(encode());
    ASSERT_EQ(m_face.results.size(), 1);
    const RowResult &result = m_face.results.first();
    EXPECT_EQ(result.status, RowResult::Status::Made) << result.reason.toStdString();
    EXPECT_EQ(result.sheet, sheet("Trial and Error"));
    EXPECT_EQ(result.picturesDrawn, 3);
    EXPECT_GT(QImage(result.sheet).width(), 160 * 3);
    EXPECT_EQ(filesInOut(), QStringList{"Trial and Error.jpg"});
}

TEST_F(RoadTest, NamesThatAToolMightMisreadMakeSheetsLikeAnyOther)
{
    const QStringList stems{"My%20dog %d%03d", "-i weird 'quotes\" $HOME", "été 日本 😀",
                            "a|b;c & d",       "~tilde http://",           "%%"};
    for (const bool inTemporary : {false, true}) {
        makeController({true, inTemporary});
        m_presenter.answers = {{1, true}};
        m_face.results.clear();
        QStringList drop;
        for (const QString &stem : stems) {
            drop << filmNamed(QString(stem).replace('/', '_') + ".mp4");
        }
        m_controller->draggedFiles(drop);
        ASSERT_TRUE(waitForGate());
        EXPECT_EQ(m_face.skipped, QStringList());
        ASSERT_TRUE(encode());
        ASSERT_EQ(m_face.results.size(), stems.size());
        for (const RowResult &result : m_face.results) {
            EXPECT_EQ(result.status, RowResult::Status::Made) << result.source.toStdString();
            EXPECT_EQ(result.picturesDrawn, 3) << result.source.toStdString();
            EXPECT_EQ(result.sheet, sheet(sourceTitle(result.source)));
        }
        EXPECT_EQ(filesInOut().size(), stems.size());
    }
}

TEST_F(RoadTest, ASourceThatIsReplacedByRubbishAfterItsAnalysisFailsAlone)
{
    m_controller->draggedFiles({filmNamed("a.mp4"), filmNamed("b.mp4")});
    ASSERT_TRUE(waitForGate());
    write(path("a.mp4"), "no video");
    ASSERT_TRUE(encode());
    EXPECT_EQ(results(), (QStringList{"failed a.mp4", "made b.mp4"}));
    EXPECT_FALSE(m_face.results.first().reason.isEmpty());
    EXPECT_EQ(filesInOut(), QStringList{"b.jpg"});
}
