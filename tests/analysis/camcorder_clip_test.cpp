// Names of clips on a camcorder card.
#include "analysis/camcorder_clip.h"

#include "common/folder_test.h"
#include "common/test_bundle.h"

#include <gmock/gmock.h>

using namespace qv;

namespace
{

class CardTest : public FolderTest
{
protected:
    CardTest()
    {
        QFile::link(builtTool("gettimestamps"), m_bundle.tool("gettimestamps"));
        make("BDMV/PLAYLIST/0.MPL", QByteArray::fromHex("FFFF1E20 00031E20 090517142305"));
    }
    QString make(const QString &name, const QByteArray &bytes = "x") const
    {
        writeFile(path(name), bytes);
        return path(name);
    }

    TestBundle m_bundle{TestBundle::Ffmpeg::None};
};

} // namespace

TEST_F(CardTest, NamesAClipByItsRecordingDateElseByItsFileDate)
{
    EXPECT_EQ(cardClipName(make("BDMV/STREAM/00003.MTS")), "clip-2009-05-17 14;23;05-00003");
    // West and east of Greenwich.
    for (const char *zone : {"EST5", "CET-1"}) {
        const QByteArray before = qgetenv("TZ");
        qputenv("TZ", zone);
        ::tzset();
        EXPECT_THAT(cardClipName(make("BDMV/STREAM/::4.MTS")).toStdString(),
                    testing::MatchesRegex("clip-20..-..-.. ..;..;..-;4"));
        before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
        ::tzset();
    }
    EXPECT_EQ(clipDateName("/missing/00003.MTS"), "00003.MTS");
}

TEST_F(CardTest, AsksTheToolOnceForAllClipsUntilThePlaylistsChange)
{
    const QString tool = m_bundle.tool("gettimestamps");
    writeScript(tool, "echo '00003 : day'\necho '00004 : eve'\n");
    EXPECT_EQ(cardClipName(make("BDMV/STREAM/00003.MTS")), "day-00003");
    writeScript(tool, "echo '00004 : dawn'\n");
    EXPECT_EQ(cardClipName(make("BDMV/STREAM/00004.MTS")), "eve-00004");
    const auto asBefore = std::filesystem::last_write_time(path("BDMV/PLAYLIST").toStdString());
    make("BDMV/PLAYLIST/0.MPL", "longer than before");
    std::filesystem::last_write_time(path("BDMV/PLAYLIST").toStdString(), asBefore);
    EXPECT_EQ(cardClipName(path("BDMV/STREAM/00004.MTS")), "dawn-00004");
}

TEST_F(CardTest, LeavesEveryOtherFileItsName)
{
    for (const QString &clip : {make("BDMV/OTHER/00003.MTS"), make("STREAM/00003.MTS"),
                                m_folder.filePath("BDMV/STREAM/missing.MTS"), QString()}) {
        EXPECT_TRUE(cardClipName(clip).isNull()) << clip.toStdString();
    }
}

TEST_F(CardTest, TakesNothingFromTheToolThatDoesNotBelongIntoAName)
{
    const QByteArray line = "00003 : ../\\033[1mc\\007/\\303\\251\\0" + QByteArray(999, 'p');
    writeScript(m_bundle.tool("gettimestamps"), "printf '00003x : no\\n" + line + "\\n'\n");
    EXPECT_EQ(clipDateName(make("BDMV/STREAM/00003.MTS")), "..[1mc" + QString(52, 'p') + "-00003");
}
