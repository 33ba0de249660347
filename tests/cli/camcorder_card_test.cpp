// Clips of camcorder cards, from the source to the name in the sheet and of the sheet.

#include "cli/command_test.h"

TEST_F(CommandTest, AClipOnACameraCardIsNamedByItsRecordingDate)
{
    QFile::link(builtTool("gettimestamps"), m_bundle.tool("gettimestamps"));
    const QByteArray mark = QByteArray::fromHex("FFFF1E20 00031E20");
    make("card 1/BDMV/PLAYLIST/0.MPL", mark + QByteArray::fromHex("090517142305"));
    make("card 2/BDMV/PLAYLIST/0.MPL", mark + QByteArray::fromHex("110801090000"));
    const QByteArray first = make("card 1/BDMV/STREAM/00003.MTS");
    const QByteArray second = make("card 2/BDMV/STREAM/00003.MTS");
    const Ran ran =
        sheets({"--caption", "name", first, second, make("clip/clip-2009-05-17 14;23;05-00003.MTS"),
                make("plain/00003.MTS")});
    EXPECT_EQ(ran.told("reason").mid(0, 2), QStringList({"null", "null"}));
    EXPECT_EQ(namesIn("out"), QStringList({"00003.jpg", "clip-2009-05-17 14;23;05-00003 (clip).jpg",
                                           "clip-2009-05-17 14;23;05-00003.jpg",
                                           "clip-2011-08-01 09;00;00-00003.jpg"}));
    // The title is the one that a file of that name would have.
    const QImage sheet = pictureAt("out/clip-2009-05-17 14;23;05-00003.jpg");
    EXPECT_EQ(sheet, pictureAt("out/clip-2009-05-17 14;23;05-00003 (clip).jpg"));
    EXPECT_NE(sheet, pictureAt("out/00003.jpg"));
    EXPECT_TRUE(run({"info", second}).out.contains("clipName: clip-2011-08-01 09;00;00-00003\n"));
}
