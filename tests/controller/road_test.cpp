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
};

} // namespace

TEST_F(RoadTest, LeadsFromADropToWholeSheetsWhateverTheNames)
{
    const QStringList stems{"My%20dog %d%03d", "-i weird 'quotes\" $HOME", "été 日本 😀",
                            "a|b;c & d",       "~tilde http:__",           "%%"};
    QStringList drop{source("error.mp4"), source("replaced later.mp4")};
    for (const QString &stem : stems) {
        drop << path(stem + ".mp4");
    }
    for (const QString &film : drop.mid(1)) {
        QFile::remove(film);
        QFile::copy(clip(), film);
    }
    m_controller->draggedFiles(drop);
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(m_face.skipped.size(), 1);
    EXPECT_FALSE(m_face.skipped.value("error.mp4").isEmpty());
    const BatchItem &row = m_controller->table().row(0);
    EXPECT_TRUE(plainText(row.src).startsWith("replaced later.mp4\n(160x)120p10\n"));
    EXPECT_EQ(row.img().width(), 160);

    source("replaced later.mp4");
    ASSERT_TRUE(encode());
    ASSERT_EQ(results().filter("made").size(), stems.size());
    for (const RowResult &result : m_face.results.mid(1)) {
        EXPECT_EQ(result.picturesDrawn, 3) << result.source.toStdString();
        EXPECT_EQ(result.sheet, sheet(sourceTitle(result.source)));
        EXPECT_GT(QImage(result.sheet).width(), 160 * 3);
    }
    EXPECT_EQ(filesInOut().size(), stems.size());
}

TEST_F(RoadTest, TakesKeyPicturesWhenQuickOnesAreWanted)
{
    m_face.quick = true;
    QFile::link(builtTool("quickThumbs"), m_bundle.tool("quickThumbs"));
    QFile::copy(clip(), path("film.mp4"));
    m_controller->draggedFiles({path("film.mp4")});
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(m_controller->table().row(0).img().width(), 160);
    ASSERT_TRUE(encode());
    const RowResult result = m_face.results.value(0);
    EXPECT_TRUE(result.isQuick);
    EXPECT_EQ(result.picturesDrawn, 3);
    EXPECT_GT(QImage(result.sheet).width(), 160 * 3);
    EXPECT_FALSE(m_log.contains(":-( quickThumbs"));
}
