// Recording dates in a camcorder card's playlists, and the tool that lists them.
#include "common/test_bundle.h"
#include "support/camcorder_playlist.h"
#include "support/files_fixture.h"

#include <QProcess>

#include <sys/stat.h>

using namespace qv;

namespace
{

const QByteArray thirdClip = QByteArray::fromHex("FFFF1E20 00031E20 090517142305");
const QByteArray thirdLine = "00003 : clip-2009-05-17 14;23;05\n";

class PlaylistFolder : public FilesTest
{
protected:
    // Exit status, then what was printed, on one stream.
    static QByteArray listed(const QString &folder)
    {
        QProcess tool;
        tool.setProcessChannelMode(QProcess::MergedChannels);
        tool.start(builtTool("gettimestamps"), {folder});
        EXPECT_TRUE(tool.waitForFinished(30000)) << "no end";
        return QByteArray::number(tool.exitCode()) + ' ' + tool.readAll();
    }
};

} // namespace

TEST(ClipMarks, TellNumberAndInstantOfEachWholeMark)
{
    const std::pair<const char *, QByteArrayList> rows[] = {
        {"4D504C53 FFFF1E20 00031E20090517142305 0104 1E20 991231235959 00",
         {thirdLine, "00104 : clip-2099-12-31 23;59;59\n"}},
        {"FFFF1E20 FFFF1E20FFFFFFFFFFFF", {"255255 : clip-20FF-FF-FF FF;FF;FF\n"}},
        {"FFFF1E20 00001E201E2001020304", {"00000 : clip-201E-20-01 02;03;04\n"}},
        {"00031E20090517142305", {}}, // nothing says that marks begin
        {"FFFF1E20 00031E200905171423", {}},
        {"FFFF1E20", {}},
    };
    for (const auto &[hex, lines] : rows) {
        EXPECT_EQ(clipMarks(QByteArray::fromHex(hex)), lines) << hex;
    }
    EXPECT_EQ(clipMarks(thirdClip.left(4) + thirdClip.mid(2, 2).repeated(500000)).size(), 65536);
}

TEST_F(PlaylistFolder, IsListedByNameAndOnlyItsFiles)
{
    make("é/b.MPL", thirdClip);
    make("é/a.MPL", "no marks");
    make("é/c.mpl", thirdClip);
    ASSERT_EQ(::mkfifo(at("é/d.MPL").toUtf8().constData(), 0600), 0);
    make("é/e.MPL/clip", thirdClip);
    EXPECT_EQ(listed(at("é/")), "0 " + thirdLine);
}

TEST_F(PlaylistFolder, StopsAtWhatItCannotReadAndTellsWhy)
{
    make("a.MPL", thirdClip);
    make("c.MPL", thirdClip);
    ASSERT_TRUE(QFile::resize(make("b.MPL"), 1LL << 33)); // takes no room
    EXPECT_EQ(listed(at("")), "1 " + thirdLine +
                                  "Could not read all the characters in the file:Expecting "
                                  "8589934592 characters:Read 67108850 characters\n");
    ASSERT_TRUE(QFile::remove(at("b.MPL")));
    link(at("missing"), "b.MPL");
    EXPECT_EQ(listed(at("")),
              "1 " + thirdLine + "Error getting file stats:b.MPL:No such file or directory\n");
    EXPECT_EQ(listed("/missing"), "1 Cannot change directory:/missing:No such file or directory");
}
