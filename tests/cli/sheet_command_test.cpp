// What "sheet" makes, keeps and tells.

#include "cli/command_test.h"
#include "cli/source_list.h"
#include "common/ordinary_user.h"
#include "controller/reasons.h"

#include <filesystem>

using namespace qv;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST_F(RealCommandTest, AClipWithOneKeyFrameGivesAFullSheetOfDifferentStills)
{
    // The picture turns from black to white: each still is brighter than the one before.
    const QByteArray source =
        clip("one key.mp4", "-f lavfi -i color=white:s=320x180:r=10:d=8 -vf fade=in:0:80 -c:v "
                            "libx264 -preset ultrafast -g 1000 -sc_threshold 0 -pix_fmt yuv420p");
    const Ran ran = sheets({"--caption", "none", "-n", "9", source});
    EXPECT_EQ(ran.objects().value(0).value("pictures"), (QJsonObject{{"asked", 9}, {"drawn", 9}}));
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(scratchFolders(), QStringList());
    const QImage sheet = pictureAt("out/one key.jpg");
    EXPECT_EQ(sheet.width(), 960);
    int before = -1;
    for (int cell = 0; cell < 9; ++cell) {
        const QPoint middle(160 + cell % 3 * 320, sheet.height() * (1 + cell / 3 * 2) / 6);
        EXPECT_GT(qGreen(sheet.pixel(middle)), before) << cell;
        before = qGreen(sheet.pixel(middle));
    }
}

TEST_F(CommandTest, ASheetIsKeptOrReplacedForItsOwnSourceOnly)
{
    const QByteArray first = make("a/clip.mp4");
    const QByteArray second = make("b/clip.mp4", "another video");
    ASSERT_EQ(sheets({first}).told("status"), words("made"));
    make("out/taken.jpg", "not a sheet");
    make("out/folder.jpg/mine.txt");
    const QByteArrayList others{second, make("b/taken.mp4"), make("b/folder.mp4")};
    const QByteArray before = contentOf(path("out/clip.jpg"));
    const QStringList theirs{path("out/clip (b).jpg"), path("out/taken (b).jpg"),
                             path("out/folder (b).jpg")};
    const char *const told[][2] = {{"--keep", "made made made"},
                                   {"--keep", "kept kept kept"},
                                   {"--update", "kept kept kept"},
                                   {"--replace", "made made made"}};
    for (const auto &[option, statuses] : told) {
        const Ran ran = sheets(QByteArrayList{option} + others);
        EXPECT_EQ(ran.told("status"), words(statuses)) << option;
        EXPECT_EQ(ran.told("sheet"), theirs) << option;
        EXPECT_TRUE(ran.objects().value(0).value("renamed").toBool());
        EXPECT_EQ(contentOf(path("out/clip.jpg")), before);
        EXPECT_EQ(contentOf(path("out/taken.jpg")), "not a sheet");
        EXPECT_EQ(namesIn("out/folder.jpg"), words("mine.txt"));
    }
    EXPECT_EQ(sheets({second, first}).told("sheet"),
              QStringList({theirs.first(), path("out/clip.jpg")}));
}

TEST_F(CommandTest, ASheetOfOthersThatComesMeanwhileIsLeftAlone)
{
    const QByteArray source = make("clip.mp4");
    sheets({make("other/clip.mp4")});
    std::filesystem::rename(path("out/clip.jpg").toStdString(), path("theirs").toStdString());
    const QString ffmpeg = m_bundle.tool("ffmpeg");
    std::filesystem::rename(ffmpeg.toStdString(), (ffmpeg + "-real").toStdString());
    for (const QByteArray moment : {"-f null", "img02"}) {
        writeScript(ffmpeg, "case \"$*\" in *'" + moment + "'*) cp '" + path("theirs") + "' '" +
                                path("out/clip.jpg") + "';; esac\nexec \"$0-real\" \"$@\"\n");
        for (const char *option : {"--keep", "--replace"}) {
            std::filesystem::remove_all(path("out").toStdString());
            const Ran ran = sheets({option, source});
            EXPECT_EQ(ran.told("status"), words("made")) << ran.err.constData();
            EXPECT_THAT(ran.err.toStdString(), HasSubstr("has come to the name clip meanwhile"));
            EXPECT_EQ(contentOf(path("out/clip.jpg")), contentOf(path("theirs")));
            EXPECT_EQ(namesIn("out").size(), 2);
            EXPECT_EQ(sheets({source}).told("sheet"), ran.told("sheet"));
        }
    }
}

TEST_F(CommandTest, FoldersAreWalkedInOrderWithoutTheirTrashAndASourceIsMadeOnce)
{
    for (const char *name : {"in/b/2.mp4", "in/a/deep/er/1.mkv", "in/.Trash-1000/files/gone.mp4",
                             "in/notes.txt", "in/.Trash/gone.mp4", "other/3.MP4", "4.mov"}) {
        make(name);
    }
    QFile::link(path("4.mov"), path("link.mov"));
    QDir::setCurrent(m_folder.path());
    const Ran ran = sheets({"in/", "4.mov", "other", "in//b/2.mp4", path("4.mov"), "link.mov"});
    EXPECT_EQ(ran.told("source"), words("in/a/deep/er/1.mkv in/b/2.mp4 4.mov other/3.MP4 "
                                        "in//b/2.mp4 " +
                                        path("4.mov") + " link.mov"));
    EXPECT_EQ(ran.told("status"), words("made made made made kept kept kept"));
    EXPECT_EQ(ran.told("sheet").last(), QString::fromUtf8(path("out/4.jpg")));
}

TEST_F(CommandTest, AFolderThatMayNotBeReadIsRefusedAtAnyDepth)
{
    for (const char *name : {"in/a.mp4", "in/closed/b.mp4", "in/lost+found/c", "shut/d.mp4"}) {
        make(name);
    }
    for (const char *name : {"in/closed", "in/lost+found", "shut"}) {
        std::filesystem::permissions(path(name).toStdString(), std::filesystem::perms::none);
    }
    QDir::setCurrent(m_folder.path());
    QStringList listed;
    {
        const OrdinaryUser user;
        for (const Source &source : listSources({"in", "shut"}, {"mp4"})) {
            listed.append(source.shown() + ": " + source.problem);
        }
    }
    EXPECT_EQ(listed, (QStringList{"in/a.mp4: ", "in/closed: " + reasons::folderClosed,
                                   "shut: " + reasons::folderClosed}));
    for (const char *name : {"in/closed", "in/lost+found", "shut"}) {
        std::filesystem::permissions(path(name).toStdString(), std::filesystem::perms::owner_all);
    }
}

TEST_F(CommandTest, ADestinationIsMadeWhenMissingAndRefusedWhenItCannotBe)
{
    const QByteArray source = make("a.mp4");
    EXPECT_EQ(run({"sheet", "-n", "3", "-o", path("new/deep"), source}).status, 0);
    EXPECT_EQ(namesIn("new/deep"), words("a.jpg"));
    make("file");
    for (const QByteArray &output : {path("file"), path("file/below"), QByteArray("/proc/none")}) {
        const Ran ran = run({"sheet", "-o", output, source});
        EXPECT_EQ(ran.status, 3);
        EXPECT_EQ(ran.out, "");
        EXPECT_THAT(ran.err.toStdString(), HasSubstr(output.toStdString()));
    }
    EXPECT_EQ(contentOf(path("file")), "video");
}

TEST_F(CommandTest, ADestinationThatGoesAwayMeanwhileCostsNoMoreThanItMust)
{
    int line = 0;
    m_onResult = [&](const QByteArray &) {
        std::filesystem::remove_all(path("out").toStdString());
        if (++line == 2) {
            make("out", "a file now");
        }
    };
    const Ran ran = sheets({make("a.mp4"), make("b.mp4"), make("c.mp4")});
    EXPECT_EQ(ran.told("status"), words("made made failed"));
    EXPECT_THAT(ran.told("reason").value(2).toStdString(), HasSubstr("destination"));
}

TEST_F(CommandTest, TimeCodesAreStampedInWhiteUnlessSwitchedOff)
{
    QImage still(640, 360, QImage::Format_RGB32);
    still.fill(Qt::blue);
    ASSERT_TRUE(still.save(path("still.jpg")));
    qputenv("FAKE_TOOL_PICTURE", path("still.jpg"));
    const auto whitePixels = [&](const QByteArrayList &options) {
        sheets(QByteArrayList{"--replace", "-n", "6", "--background", "green", "--border-color",
                              "green", "--caption", "none", make("a.mp4")} +
               options);
        const QImage sheet = pictureAt("out/a.jpg");
        int count = 0;
        for (int i = 0; i < sheet.width() * sheet.height(); ++i) {
            const QRgb pixel = sheet.pixel(i % sheet.width(), i / sheet.width());
            count += std::min({qRed(pixel), qGreen(pixel), qBlue(pixel)}) > 215 ? 1 : 0;
        }
        return count;
    };
    EXPECT_GT(whitePixels({}), 200);
    EXPECT_EQ(whitePixels({"--no-timecode"}), 0);
}

TEST_F(CommandTest, ThePreferencesAreReadAndNeverWritten)
{
    const QString file = QDir::homePath() + "/Library/Preferences/org.quorvantel.Quorvantel.plist";
    const QByteArray settings =
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>prefLimitMed</key>"
        "<integer>6</integer><key>prefDpi</key><integer>1</integer><key>junk</key><true/>"
        "</dict></plist>";
    for (const QByteArray &contents : {settings, settings.left(100)}) {
        writeFile(file, contents);
        const Ran ran = run({"sheet", "--json", "-o", path("out"), make("a.mp4")});
        const bool whole = contents == settings;
        const QJsonValue pictures = ran.objects().value(0).value("pictures");
        EXPECT_EQ(pictures.toObject().value("asked"), whole ? 6 : 15);
        EXPECT_TRUE(ran.told("sheet").value(0).endsWith(QLatin1String(whole ? ".png" : ".jpg")));
        EXPECT_EQ(contentOf(file), contents);
        EXPECT_EQ(ran.err.contains("the settings in " + file.toUtf8() + " can't be read"), !whole);
    }
    writeFile(file, QByteArray(settings).replace("6", "-3"));
    EXPECT_THAT(run({"sheet", "-o", path("out"), make("b.mp4")}).err.toStdString(),
                HasSubstr("the stored setting prefLimitMed is impossible"));
    EXPECT_TRUE(QFile::remove(file));
}

TEST_F(CommandTest, TheTraceGoesToTheLogAndQuietTellsFailuresOnly)
{
    const QByteArrayList alike{make("a/x.mp4"), make("b/x.mp4")};
    EXPECT_EQ(sheets(QByteArrayList{"--quiet", "--log", path("log")} + alike).err, "");
    EXPECT_THAT(contentOf(path("log")).toStdString(), HasSubstr("iba_batchGoBt"));
    EXPECT_EQ(sheets({"--quiet", path("none.mp4")}).err,
              "skipped: " + path("none.mp4") + ": no such file\n");
    EXPECT_EQ(sheets({"--log", path("none/x.log"), alike.first()}).status, 3);
}

TEST_F(CommandTest, TheProgressLineIsShownOnATerminalOnlyAndGoneWhereLinesArePrinted)
{
    const QByteArrayList line{"sheet",       "-n",           "3",          "-o", path("out"),
                              make("a.mp4"), path("no.mp4"), make("b.mp4")};
    m_terminal = true;
    const Ran shown = run(line);
    EXPECT_THAT(shown.err.toStdString(), AllOf(HasSubstr("[1/3] " + path("a.mp4").toStdString()),
                                               HasSubstr("picture 3/3"), HasSubstr(" s left")));
    const QString folder = m_folder.path();
    EXPECT_EQ(
        shown.screen,
        QStringList({folder + "/out/a.jpg",
                     QStringLiteral("skipped: %1/no.mp4: no such file").arg(folder),
                     folder + "/out/b.jpg", "2 made, 0 kept, 1 skipped, 0 failed", QString()}));
    m_terminal = false;
    EXPECT_THAT(run(line).err.toStdString(), AllOf(Not(HasSubstr("\r")), Not(HasSubstr("\033"))));
}
