// What "sheet" makes, keeps and tells.

#include "cli/command_test.h"

#include <QDir>
#include <QFile>
#include <QImage>

#include <filesystem>

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace
{

QStringList texts(std::initializer_list<const char *> list)
{
    QStringList texts;
    for (const char *text : list) {
        texts.append(QString::fromUtf8(text));
    }
    return texts;
}

QImage pictureAt(const QByteArray &path)
{
    return QImage(QString::fromUtf8(path));
}

QRgb inCell(const QImage &sheet, double x, double y)
{
    return sheet.pixel(static_cast<int>(sheet.width() * x), static_cast<int>(sheet.height() * y));
}

} // namespace

TEST_F(RealCommandTest, ASheetShowsTheStillsInTheOrderOfTheirInstants)
{
    const QByteArray source =
        clip("two colours.mp4",
             texts({"-f", "lavfi", "-i", "color=red:s=320x180:r=10:d=2", "-f", "lavfi", "-i",
                    "color=blue:s=320x180:r=10:d=2", "-filter_complex", "[0][1]concat=n=2", "-c:v",
                    "libx264", "-preset", "ultrafast", "-g", "5", "-pix_fmt", "yuv420p"}));
    const Ran ran = run({"sheet", "--caption", "none", "-n", "6", "-o", path("out"), source});
    ASSERT_EQ(ran.status, 0) << ran.err.constData();
    EXPECT_EQ(ran.out, path("out/two colours.jpg\n"));
    EXPECT_EQ(ran.err, "");
    const QImage sheet = pictureAt(path("out/two colours.jpg"));
    EXPECT_EQ(sheet.width(), 960);
    for (const double x : {0.16, 0.5, 0.83}) {
        EXPECT_GT(qRed(inCell(sheet, x, 0.25)), 200) << x;
        EXPECT_GT(qBlue(inCell(sheet, x, 0.7)), 200) << x;
    }
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(RealCommandTest, AClipWithOneKeyFrameGivesAFullSheet)
{
    const QByteArray source =
        clip("one key.mp4",
             texts({"-f", "lavfi", "-i", "testsrc=s=320x180:r=10:d=8", "-c:v", "libx264", "-preset",
                    "ultrafast", "-g", "1000", "-sc_threshold", "0", "-pix_fmt", "yuv420p"}));
    const QJsonObject told = sheets({"-n", "9", source}).objects().value(0);
    EXPECT_EQ(told.value(QStringLiteral("status")), QStringLiteral("made"));
    EXPECT_EQ(told.value(QStringLiteral("duration")), 8);
    EXPECT_EQ(told.value(QStringLiteral("pictures")),
              (QJsonObject{{QStringLiteral("asked"), 9}, {QStringLiteral("drawn"), 9}}));
}

TEST_F(CommandTest, JsonLinesHaveTheSameKeysWhateverBecameOfTheSource)
{
    const Ran ran = sheets({make("good.mp4"), make("all-refuse.mp4"), path("missing.mp4"),
                            make("picture-missing.mp4")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.told("status"), texts({"made", "skipped", "skipped", "failed"}));
    for (const QJsonObject &object : ran.objects()) {
        EXPECT_EQ(object.keys(), texts({"duration", "pictures", "reason", "seconds", "sheet",
                                        "source", "status"}));
        const bool made = object.value(QStringLiteral("status")) == QStringLiteral("made");
        EXPECT_EQ(object.value(QStringLiteral("sheet")).isNull(), !made);
        EXPECT_EQ(object.value(QStringLiteral("reason")).isNull(), made);
        EXPECT_TRUE(object.value(QStringLiteral("seconds")).isDouble());
    }
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("1 made, 0 kept, 2 skipped, 1 failed"));
}

TEST_F(CommandTest, ASheetThatIsThereIsKeptUnlessItIsToBeReplaced)
{
    const QByteArray source = make("a.mp4");
    make("out/a.jpg", "the old one");
    for (const char *option : {"--json", "--keep"}) {
        const Ran kept = sheets({option, source});
        EXPECT_EQ(kept.status, 0);
        EXPECT_EQ(kept.told("status"), texts({"kept"}));
        EXPECT_EQ(kept.told("sheet"), QStringList(QString::fromUtf8(path("out/a.jpg"))));
        EXPECT_EQ(contentsOf(path("out/a.jpg")), "the old one");
    }
    EXPECT_EQ(contentsOf(path("tool.log")), "");
    EXPECT_EQ(sheets({"--replace", source}).told("status"), texts({"made"}));
    EXPECT_FALSE(pictureAt(path("out/a.jpg")).isNull());
    EXPECT_EQ(namesIn("out"), texts({"a.jpg"}));
}

TEST_F(CommandTest, AFolderOfTheSheetsNameIsNoSheet)
{
    make("out/a.jpg/mine.txt");
    for (const char *option : {"--keep", "--replace"}) {
        const Ran ran = sheets({option, make("a.mp4"), make("b.mp4")});
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.told("reason").value(0).toStdString(), HasSubstr("folder"));
        EXPECT_EQ(ran.told("status").value(0), QStringLiteral("failed"));
    }
    EXPECT_EQ(namesIn("out/a.jpg"), texts({"mine.txt"}));
    EXPECT_TRUE(QFile::exists(QString::fromUtf8(path("out/b.jpg"))));
}

TEST_F(CommandTest, SourcesOfOneStemGetSheetsOfTheirOwnAndARepeatedRunFindsThem)
{
    const QByteArrayList sources{make("one/x.mp4"), make("two/x.mp4"), make("two/x.mkv"),
                                 make("one/x.mp4")};
    const Ran first = sheets(sources);
    EXPECT_EQ(first.told("status"), texts({"made", "made", "made"}));
    EXPECT_EQ(namesIn("out"), texts({"x (mkv).jpg", "x (two).jpg", "x.jpg"}));
    EXPECT_THAT(first.err.toStdString(), AllOf(HasSubstr("x (two).jpg"), HasSubstr("x (mkv).jpg")));
    const Ran second = sheets(sources);
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.told("status"), texts({"kept", "kept", "kept"}));
    EXPECT_EQ(second.told("sheet"), first.told("sheet"));
}

TEST_F(CommandTest, FoldersAreWalkedInOrderAndTheirTrashIsNot)
{
    for (const char *name : {"in/b/2.mp4", "in/a/deep/er/1.mkv", "in/.Trash-1000/files/gone.mp4",
                             "in/notes.txt", "in/.Trash/gone.mp4", "other/3.MP4", "4.mov"}) {
        make(name);
    }
    QDir::setCurrent(m_folder.path());
    const Ran ran = sheets({"in/", "4.mov", "other"});
    EXPECT_EQ(ran.told("source"),
              texts({"in/a/deep/er/1.mkv", "in/b/2.mp4", "4.mov", "other/3.MP4"}));
    EXPECT_EQ(namesIn("out"), texts({"1.jpg", "2.jpg", "3.jpg", "4.jpg"}));
}

TEST_F(CommandTest, TheSameSourceUnderSeveralNamesIsOneSource)
{
    make("clips/a.mp4");
    QFile::link(QString::fromUtf8(path("clips/a.mp4")), QString::fromUtf8(path("link.mp4")));
    QDir::setCurrent(m_folder.path());
    const Ran ran =
        sheets({"clips/a.mp4", "./clips//a.mp4", path("clips/a.mp4"), "clips", "link.mp4"});
    EXPECT_EQ(ran.told("source"), texts({"clips/a.mp4"}));
}

TEST_F(CommandTest, ADestinationIsMadeWhenMissingAndRefusedWhenItCannotBe)
{
    const QByteArray source = make("a.mp4");
    EXPECT_EQ(run({"sheet", "-n", "3", "-o", path("new/and/deep"), source}).status, 0);
    EXPECT_EQ(namesIn("new/and/deep"), texts({"a.jpg"}));
    make("file");
    for (const QByteArray &output : {path("file"), path("file/below"), QByteArray("/proc/none")}) {
        const Ran ran = run({"sheet", "-o", output, source});
        EXPECT_EQ(ran.status, 3);
        EXPECT_EQ(ran.out, "");
        EXPECT_THAT(ran.err.toStdString(),
                    AllOf(HasSubstr(output.toStdString()), HasSubstr("--output")));
    }
    EXPECT_EQ(contentsOf(path("file")), "video");
}

TEST_F(CommandTest, ADestinationThatGoesAwayMeanwhileCostsNoMoreThanItMust)
{
    const QByteArrayList sources{make("a.mp4"), make("b.mp4"), make("c.mp4")};
    int line = 0;
    m_onResult = [&](const QByteArray &) {
        std::filesystem::remove_all(path("out").toStdString());
        if (++line == 2) {
            make("out", "a file now");
        }
    };
    const Ran ran = sheets(sources);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.told("status"), texts({"made", "made", "failed"}));
    EXPECT_THAT(ran.told("reason").value(2).toStdString(), HasSubstr("destination"));
}

TEST_F(CommandTest, WithoutAnOutputSheetsGoToTheUsersMovies)
{
    EXPECT_EQ(run({"sheet", "-n", "3", make("home-video.mp4")}).status, 0);
    const QString sheet = QDir::homePath() + QStringLiteral("/Movies/Quorvantel/home-video.jpg");
    EXPECT_FALSE(QImage(sheet).isNull());
}

TEST_F(CommandTest, ThePreferencesAreReadAndNeverWritten)
{
    const QString file =
        QDir::homePath() + QStringLiteral("/Library/Preferences/org.quorvantel.Quorvantel.plist");
    QDir().mkpath(QFileInfo(file).path());
    const auto write = [&](const QByteArray &contents) {
        QFile plist(file);
        ASSERT_TRUE(plist.open(QIODevice::WriteOnly));
        plist.write(contents);
    };
    const QByteArray settings =
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>prefLimitMed</key>"
        "<integer>6</integer><key>prefDpi</key><integer>1</integer><key>junk</key><true/>"
        "</dict></plist>";
    write(settings);
    const Ran read = run({"sheet", "--json", "-o", path("out"), make("a.mp4")});
    EXPECT_EQ(read.objects()
                  .value(0)
                  .value(QStringLiteral("pictures"))
                  .toObject()
                  .value(QStringLiteral("asked")),
              6);
    EXPECT_EQ(pictureAt(path("out/a.png")).width(), 1920);
    EXPECT_EQ(contentsOf(file.toUtf8()), settings);
    for (const QByteArray &broken : {QByteArray("no property list"), settings.left(100)}) {
        write(broken);
        EXPECT_EQ(run({"sheet", "-n", "3", "--replace", "-o", path("out"), path("a.mp4")}).status,
                  0);
        EXPECT_EQ(contentsOf(file.toUtf8()), broken);
    }
    EXPECT_TRUE(QFile::remove(file));
}

TEST_F(CommandTest, TheLogGetsTheTraceAndMoreOfItWhenVerbose)
{
    const QByteArray source = make("a.mp4");
    const Ran plain = sheets({"--log", path("plain.log"), source});
    const Ran verbose = sheets({"--replace", "--verbose", "--log", path("verbose.log"), source});
    EXPECT_EQ(plain.err + verbose.err, "");
    const QByteArray log = contentsOf(path("plain.log"));
    EXPECT_THAT(log.toStdString(), HasSubstr("iba_batchGoBt"));
    EXPECT_GT(contentsOf(path("verbose.log")).count('\n'), log.count('\n'));
    sheets({"--log", path("plain.log"), source});
    EXPECT_TRUE(contentsOf(path("plain.log")).startsWith(log));
    EXPECT_EQ(sheets({"--log", path("none/x.log"), source}).status, 3);
}

TEST_F(CommandTest, QuietTellsFailuresOnly)
{
    make("out/kept.jpg");
    const QByteArrayList good{make("a/x.mp4"), make("b/x.mp4"), make("kept.mp4")};
    EXPECT_EQ(sheets(QByteArrayList{"--quiet"} + good).err, "");
    EXPECT_EQ(sheets({"--quiet", path("none.mp4")}).err,
              "skipped: " + path("none.mp4") + ": no such file\n");
}

TEST_F(CommandTest, TheProgressLineIsShownOnATerminalOnlyAndGoneWhereLinesArePrinted)
{
    const QByteArrayList line{"sheet",       "-n",           "3",          "-o", path("out"),
                              make("a.mp4"), path("no.mp4"), make("b.mp4")};
    m_terminal = true;
    const Ran shown = run(line);
    EXPECT_THAT(shown.err.toStdString(), AllOf(HasSubstr("[1/3] " + path("a.mp4").toStdString()),
                                               HasSubstr("picture 2/3"), HasSubstr(" s left")));
    QStringList lines = texts({"OUT/a.jpg", "skipped: OUT/../no.mp4: no such file", "OUT/b.jpg",
                               "2 made, 0 kept, 1 skipped, 0 failed", ""});
    for (QString &text : lines) {
        text.replace(QStringLiteral("OUT/.."), m_folder.path());
        text.replace(QStringLiteral("OUT"), m_folder.path() + QStringLiteral("/out"));
    }
    EXPECT_EQ(shown.screen, lines);
    m_terminal = false;
    EXPECT_THAT(run(line).err.toStdString(), AllOf(Not(HasSubstr("\r")), Not(HasSubstr("\033"))));
}
