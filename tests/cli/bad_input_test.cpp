// Sources that are hostile, broken or strangely named.

#include "cli/command_test.h"

#include <QDir>
#include <QFile>
#include <QImage>

#include <filesystem>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

struct Bad {
    QByteArray source;
    const char *status;
    const char *reason;
};

QByteArrayList sourcesOf(const std::vector<Bad> &table)
{
    QByteArrayList sources;
    for (const Bad &bad : table) {
        sources.append(bad.source);
    }
    return sources;
}

void expectTold(const Ran &ran, const std::vector<Bad> &table)
{
    const QStringList statuses = ran.told("status");
    const QStringList reasons = ran.told("reason");
    ASSERT_EQ(statuses.size(), static_cast<qsizetype>(table.size()));
    for (qsizetype i = 0; i < statuses.size(); ++i) {
        const Bad &bad = table.at(static_cast<size_t>(i));
        EXPECT_EQ(statuses.at(i).toStdString(), bad.status) << bad.source.constData();
        EXPECT_THAT(reasons.at(i).toStdString(), HasSubstr(bad.reason)) << bad.source.constData();
    }
}

// A folder whose path with "/clip.mp4" has just this many bytes.
QByteArray deepFolder(QByteArray folder, qsizetype bytes)
{
    const qsizetype wanted = bytes - static_cast<qsizetype>(sizeof "/clip.mp4") + 1;
    while (folder.size() < wanted) {
        folder += '/' + QByteArray(std::min<qsizetype>(200, wanted - folder.size() - 1), 'd');
        if (wanted - folder.size() == 1) {
            folder.chop(1);
        }
        std::filesystem::create_directory(folder.toStdString());
    }
    return folder;
}

} // namespace

TEST_F(RealCommandTest, EachBadFileGetsItsReasonAndTheOthersGoOn)
{
    const QByteArray good = soundClip("in/good.mp4");
    const QByteArray whole = contentsOf(good);
    const QByteArray soundOnly = clip(
        "sound only.mp4", QStringLiteral("-f lavfi -i sine=d=2 -c:a aac").split(QLatin1Char(' ')));
    make("no videos/notes.txt");
    make("trash only/.Trash/gone.mp4");
    const QByteArray circle = path("circle.mp4");
    std::filesystem::create_symlink("circle.mp4", circle.toStdString());
    const std::vector<Bad> table{
        {path("missing.mp4"), "skipped", "no such file"},
        {make("empty.mp4", ""), "skipped", "empty"},
        {make("text.mp4", "Just words.\n"), "skipped", "not a video"},
        {make("half.mp4", whole.left(whole.size() / 2)), "skipped", "incomplete"},
        {soundOnly, "skipped", "no video"},
        {path("no videos"), "skipped", "no video in this folder"},
        {path("trash only"), "skipped", "no video in this folder"},
        {make("notes.txt"), "skipped", "'.txt'"},
        {make("no extension"), "skipped", "no extension"},
        {circle, "skipped", "circles"},
        {"", "skipped", "empty"},
        {"/dev/null", "skipped", "no regular file"},
        {QByteArray(5000, 'x') + ".mp4", "skipped", "too long"},
        {good, "made", "null"},
    };
    const Ran ran = sheets(sourcesOf(table));
    EXPECT_EQ(ran.status, 1);
    expectTold(ran, table);
    EXPECT_EQ(namesIn("out"), QStringList(QStringLiteral("good.jpg")));
}

TEST_F(CommandTest, AFileWithoutReadPermissionIsSkipped)
{
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    const QByteArray source = make("secret.mp4");
    QFile::setPermissions(QString::fromUtf8(source), {});
    expectTold(sheets({source}), {{source, "skipped", "no permission"}});
}

TEST_F(CommandTest, AToolThatMisbehavesCostsItsSourceOnly)
{
    const std::vector<Bad> table{
        {make("analysis-silent.mp4"), "skipped", "printed nothing"},
        {make("analysis-garbage.mp4"), "skipped", ""},
        {make("analysis-crash.mp4"), "skipped", "signal 11"},
        {make("analysis-hang.mp4"), "skipped", "neither printed nor computed"},
        {make("all-refuse.mp4"), "skipped", "not a video"},
        {make("picture-garbage.mp4"), "failed", "no picture"},
        {make("picture-crash.mp4"), "failed", "signal 11"},
        {make("picture-hang.mp4"), "failed", "neither printed nor computed"},
        {make("a.picture-hang-1.mp4"), "made", "1 of 3 pictures could not be taken"},
        {make("a.picture-missing-2.mp4"), "made", "1 of 3 pictures could not be taken"},
        {make("a.picture-intra.mp4"), "made", "null"},
        {make("good.mp4"), "made", "null"},
    };
    const Ran ran = sheets(QByteArrayList{"--hang-timeout", "0.3"} + sourcesOf(table));
    EXPECT_EQ(ran.status, 1);
    expectTold(ran, table);
    EXPECT_EQ(namesIn("out").size(), 4);
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(CommandTest, WithoutAToolOrATemporaryFolderNothingCanWork)
{
    const QByteArray source = make("a.mp4");
    {
        const QByteArray before = qgetenv("TMPDIR");
        qputenv("TMPDIR", path("none"));
        const Ran ran = sheets({source});
        qputenv("TMPDIR", before);
        EXPECT_EQ(ran.status, 3);
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("TMPDIR"));
    }
    QFile::remove(m_bundle.tool(QStringLiteral("ffmpeg")));
    for (const char *command : {"sheet", "info", "plan"}) {
        const Ran ran = run({command, source});
        EXPECT_EQ(ran.status, 3);
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("there is no ffmpeg"));
        EXPECT_EQ(ran.out, "");
    }
}

TEST_F(RealCommandTest, AnyNameThatAFileCanHaveGetsItsSheet)
{
    const QByteArray source = soundClip("clip.mp4");
    const QByteArray longest = QByteArray("\xc3\xa9").repeated(125) + "e.mp4";
    const QByteArrayList names{"with space 'and' \"quotes\".mp4",
                               "100% %d %05d %1; rm -rf $HOME &.mp4",
                               "new\nline\ttab.mp4",
                               "-leading.mp4",
                               "\xc3\x89t\xc3\xa9 \xf0\x9f\x8e\xac.mp4",
                               "concat:a|b.mp4",
                               longest,
                               "bad \xff\xfe bytes.mp4"};
    QByteArrayList sources;
    for (const QByteArray &name : names) {
        std::filesystem::create_directories(path("in").toStdString());
        std::filesystem::create_hard_link(source.toStdString(), path("in/" + name).toStdString());
    }
    QDir::setCurrent(QString::fromUtf8(path("in")));
    const Ran ran = sheets(QByteArrayList{"--"} + names);
    EXPECT_EQ(ran.status, 0) << ran.err.constData();
    QStringList shown;
    for (const QByteArray &name : names) {
        shown.append(QString::fromUtf8(name));
    }
    EXPECT_EQ(ran.told("source"), shown);
    EXPECT_EQ(namesIn("out").size(), names.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        const QString sheet = ran.told("sheet").value(i);
        EXPECT_FALSE(QImage(sheet).isNull()) << sheet.toStdString();
        EXPECT_TRUE(
            names.at(i) == longest ||
            sheet.endsWith(QLatin1Char('/') + shown.at(i).chopped(4) + QStringLiteral(".jpg")))
            << sheet.toStdString();
    }
}

TEST_F(RealCommandTest, APathOfFourThousandBytesIsAPathLikeAnyOther)
{
    const QByteArray folder = deepFolder(path("deep").chopped(5), 4000);
    const QByteArray source = folder + "/clip.mp4";
    ASSERT_EQ(source.size(), 4000);
    std::filesystem::rename(soundClip("clip.mp4").toStdString(), source.toStdString());
    const Ran ran = sheets({source});
    EXPECT_EQ(ran.status, 0) << ran.err.constData();
    EXPECT_EQ(namesIn("out"), QStringList(QStringLiteral("clip.jpg")));
}

TEST_F(RealCommandTest, NamesThatReadAlikeStayDifferentFiles)
{
    const QByteArray size = "-f lavfi -i testsrc=s=%1:r=10:d=1 -preset ultrafast";
    const auto make = [&](const QByteArray &name, const char *pixels) {
        const QByteArray made =
            clip("plain.mp4",
                 QString::fromUtf8(size).arg(QLatin1String(pixels)).split(QLatin1Char(' ')));
        std::filesystem::create_directories(path("in").toStdString());
        std::filesystem::rename(made.toStdString(), path("in/" + name).toStdString());
    };
    make("x\xff.mp4", "320x180");
    make("x\xfe.mp4", "160x120");
    make("x\xef\xbf\xbd.mp4", "64x64");
    const auto widths = [&](const QByteArrayList &sources) {
        QList<int> all;
        for (const QJsonObject &object :
             run(QByteArrayList{"info", "--json"} + sources).objects()) {
            all.append(object.value(QStringLiteral("record"))
                           .toObject()
                           .value(QStringLiteral("v0_width"))
                           .toInt());
        }
        return all;
    };
    QDir::setCurrent(QString::fromUtf8(path("in")));
    EXPECT_EQ(widths({"x\xff.mp4", "x\xef\xbf\xbd.mp4", "x\xfe.mp4"}), (QList<int>{320, 64, 160}));
    EXPECT_EQ(widths({path("in")}).size(), 3);
}

TEST_F(CommandTest, AWorkingFolderNeedNotHaveADecodableName)
{
    const std::string folder = path("here\xff").toStdString();
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file(make("a.mp4").toStdString(), folder + "/a.mp4");
    std::filesystem::current_path(folder);
    EXPECT_EQ(sheets({"a.mp4"}).told("status"), QStringList(QStringLiteral("made")));
    EXPECT_EQ(run({"sheet", "-o", "below", "a.mp4"}).status, 3);
    std::filesystem::current_path(m_folder.path().toStdString());
}

TEST_F(CommandTest, ThousandsOfBadSourcesAreAListOfReasons)
{
    QByteArrayList sources;
    for (int i = 0; i < 3000; ++i) {
        sources.append("missing-" + QByteArray::number(i) + ".mp4");
    }
    const Ran ran = sheets(sources);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out.count('\n'), 3000);
    EXPECT_EQ(ran.err.count("no such file"), 3000);
    EXPECT_EQ(contentsOf(path("tool.log")), "");
}
