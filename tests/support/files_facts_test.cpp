#include "support/files_fixture.h"

#include <QRegularExpression>

using namespace qv;

namespace
{

class FileFactsTest : public FilesTest
{
};
class PathNamesTest : public FilesTest
{
};

} // namespace

TEST_F(FileFactsTest, SizesComeInUnitsAndFoldersInWholeMebibytes)
{
    const QString file = make(QStringLiteral("file"), QByteArray(1572864, 'x'));
    make(QStringLiteral("folder/a"), QByteArray(1000000, 'x'));
    make(QStringLiteral("folder/b/c"), QByteArray(992295, 'x'));
    const QString folder = at(QStringLiteral("folder"));
    struct Case {
        QString path;
        QString unit;
        double size;
    };
    const Case cases[] = {
        {file, "m", 1.5},
        {file, "K", 1536.0},
        {file, "O", 1572864.0},
        {file, QString(), 1572864.0},
        {file, "weight", 1572864.0},
        {file, "G", 1.5 / 1024},
        {folder, "K", 1024.0},
        {folder, "M", 1.0},
        {folder, "o", 1048576.0},
        {folder, "G", 1.0 / 1024},
        {at("missing"), "M", -1.0},
        {QString(), "M", -1.0},
    };
    for (const Case &c : cases) {
        EXPECT_DOUBLE_EQ(fileSize(c.path, c.unit), c.size)
            << c.path.toStdString() << ' ' << c.unit.toStdString();
    }
    EXPECT_NEAR(static_cast<double>(folderSize(folder)), 1.9, 0.01);
    EXPECT_EQ(folderSize(at(QStringLiteral("missing"))), 0.0f);
}

TEST_F(FileFactsTest, FreeSpaceIsUnknownWhereThereIsNoVolume)
{
    EXPECT_GE(freeDiskSpace(m_folder.path()), 0);
    EXPECT_EQ(freeDiskSpace(at(QStringLiteral("missing"))), -1);
    EXPECT_TRUE(m_log.contains(QStringLiteral("error               :-( ")));
    EXPECT_EQ(freeDiskSpace(QString()), -1);
}

TEST_F(FileFactsTest, CreationIsAnInstantInTheLocalZone)
{
    const QRegularExpression form(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}$"));
    EXPECT_TRUE(form.match(creationDateText(make(QStringLiteral("file")))).hasMatch());
    EXPECT_TRUE(creationDateText(at(QStringLiteral("missing"))).isNull());
    EXPECT_TRUE(creationDateText(QString()).isNull());
}

TEST_F(FileFactsTest, ContainersAreToldByTheirFirstBytes)
{
    const QByteArray pack("\x00\x00\x01\xba\x44\x00\x04\x00\x04\x01\x00", 11);
    const QByteArray laterPack("\x00\x00\x01\xba\x44\x00\x04\x00\x04\x02\x00", 11);
    struct Case {
        QByteArray bytes;
        int kind;
        bool matches;
    };
    const Case cases[] = {
        {"Gxx", 0, true},      {QByteArray(4, '\0') + "G", 0, false},
        {"", 0, false},        {pack, 1, true},
        {laterPack, 1, false}, {pack.left(9), 1, false},
        {"\x0bwx", 2, true},   {"\x0bx", 2, false},
        {"Gxx", 3, false},     {"Gxx", -1, false},
    };
    for (const Case &c : cases) {
        const QString path = make(QStringLiteral("stream"), c.bytes);
        EXPECT_EQ(hasContainerHeader(path, c.kind), c.matches) << c.bytes.toHex().toStdString();
    }
    EXPECT_TRUE(m_log.contains(QStringLiteral("ts headers          :-) <47>")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("ac3 headers         :-( <0b78>")));
    EXPECT_FALSE(hasContainerHeader(at(QStringLiteral("missing")), 0));
}

TEST_F(PathNamesTest, SourcesInsideBundlesAreNamedAfterTheBundle)
{
    struct Case {
        QString path;
        QString folder;
        QString title;
    };
    const Case cases[] = {
        {"/v/clip.one.mov", "/v", "clip.one"},
        {"/v/News.eyetv/0001.mpg", "/v", "News"},
        {"/v/News.eyetv/sub/0001.mpg", "/v/News.eyetv/sub", "News"},
        {"/v/Trip.iMovieProject/Media/c.dv", "/v/Trip.iMovieProject/Media", "Trip"},
        {"/v/Trip.iMovieProject/Shared Movies/iDVD", "/v", "Trip"},
        {"/v/Trip.iMovieProject/Shared Movies/iDVD/Trip.mov", "/v", "Trip"},
        {"/clip", "/", "clip"},
        {"clip", "", "clip"},
        {QString(), "", ""},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(sourceTitle(c.path), c.title) << c.path.toStdString();
        EXPECT_EQ(fichier_dirname(c.path), c.folder) << c.path.toStdString();
    }
    EXPECT_EQ(EyetvBundle(QStringLiteral("/v/News.eyetv/0001.mpg")),
              QStringLiteral("/v/News.eyetv"));
    EXPECT_EQ(EyetvBundle(QStringLiteral("~/a")), QDir::homePath() + QStringLiteral("/a"));
}

TEST_F(PathNamesTest, ExtensionsAreWhatFollowsTheLastDotOfAName)
{
    struct Case {
        QString path;
        QString name;
        QString extension;
        QString without;
    };
    const Case cases[] = {
        {"/a/b.mov", "b.mov", "mov", "/a/b"},
        {"/a.b/c", "c", "", "/a.b/c"},
        {"/a/b.tar.gz", "b.tar.gz", "gz", "/a/b.tar"},
        {"/a/.hidden", ".hidden", "", "/a/.hidden"},
        {"/a/b.mov/", "b.mov", "mov", "/a/b"},
        {"b.", "b.", "", "b."},
        {"/", "/", "", "/"},
        {"", "", "", ""},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(lastPathComponent(c.path), c.name) << c.path.toStdString();
        EXPECT_EQ(pathExtension(c.path), c.extension) << c.path.toStdString();
        EXPECT_EQ(withoutExtension(c.path), c.without) << c.path.toStdString();
    }
    EXPECT_EQ(appendPath(QStringLiteral("/a/"), QStringLiteral("b")), QStringLiteral("/a/b"));
    EXPECT_EQ(appendPath(QStringLiteral("/a"), QStringLiteral("b")), QStringLiteral("/a/b"));
}

TEST_F(PathNamesTest, AliasesLeadToWhatExists)
{
    const QString target = make(QStringLiteral("the target.mov"));
    const auto entry = [&](const char *name, const QByteArray &lines) {
        return make(QString::fromLatin1(name), lines);
    };
    const QByteArray url = "file://" + QFile::encodeName(target).replace(" ", "%20");
    ASSERT_TRUE(QFile::link(QStringLiteral("the target.mov"), at(QStringLiteral("link"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("link"), at(QStringLiteral("link2"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("missing"), at(QStringLiteral("broken"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("loop"), at(QStringLiteral("loop"))));
    for (const QString &path :
         {at(QStringLiteral("link")), at(QStringLiteral("link2")),
          entry("good.desktop", "[Desktop Entry]\r\nType = Link\r\nURL=" + url + "\r\n"),
          entry("host.desktop",
                "[Desktop Entry]\nURL=file://localhost" + url.mid(7) + "\nType=Link\n")}) {
        EXPECT_EQ(resolveAlias(path), QFileInfo(target).canonicalFilePath()) << path.toStdString();
    }
    for (const QString &path :
         {target, at(QStringLiteral("broken")), at(QStringLiteral("loop")), QString(),
          at(QStringLiteral("missing")),
          entry("app.desktop", "[Desktop Entry]\nType=Application\nURL=" + url),
          entry("group.desktop", "[Other]\nType=Link\nURL=" + url),
          entry("web.desktop", "[Desktop Entry]\nType=Link\nURL=http://localhost" + url.mid(7)),
          entry("gone.desktop", "[Desktop Entry]\nType=Link\nURL=file:///missing"),
          entry("noise.desktop", QByteArray(200000, '\xff'))}) {
        EXPECT_TRUE(resolveAlias(path).isNull()) << path.toStdString();
    }
}
