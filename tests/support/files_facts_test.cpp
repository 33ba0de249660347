#include "support/files_fixture.h"

using namespace qv;

namespace
{

using FileFactsTest = FilesTest;
using PathNamesTest = FilesTest;

} // namespace

TEST_F(FileFactsTest, SizesComeInUnitsAndFoldersInWholeMebibytes)
{
    make("file", QByteArray(1572864, 'x'));
    make("folder/a", QByteArray(1000000, 'x'));
    make("folder/b/c", QByteArray(992295, 'x'));
    struct {
        const char *name;
        const char *unit;
        double size;
    } const cases[] = {
        {"file", "m", 1.5},   {"file", "K", 1536.0},      {"file", "weight", 1572864.0},
        {"folder", "M", 1.0}, {"folder", "o", 1048576.0}, {"missing", "M", -1.0}};
    for (const auto &[name, unit, size] : cases) {
        EXPECT_DOUBLE_EQ(fileSize(at(name), unit), size) << name << ' ' << unit;
    }
}

TEST_F(PathNamesTest, SourcesInsideBundlesAreNamedAfterTheBundle)
{
    const struct {
        QString path;
        QString folder;
        QString title;
    } cases[] = {
        {"/v/News.eyetv/0001.mpg", "/v", "News"},
        {"/v/News.eyetv/sub/0001.mpg", "/v/News.eyetv/sub", "News"},
        {"/v/Trip.iMovieProject/Media/c.dv", "/v/Trip.iMovieProject/Media", "Trip"},
        {"/v/Trip.iMovieProject/Shared Movies/iDVD/Trip.mov", "/v", "Trip"},
        {"/clip", "/", "clip"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(sourceTitle(c.path), c.title) << c.path.toStdString();
        EXPECT_EQ(fichier_dirname(c.path), c.folder) << c.path.toStdString();
    }
}

TEST_F(PathNamesTest, ExtensionsAreWhatFollowsTheLastDotOfAName)
{
    const struct {
        QString path;
        QString name;
        QString extension;
        QString without;
    } cases[] = {
        {"/a.b/c", "c", "", "/a.b/c"},
        {"/a/b.tar.gz", "b.tar.gz", "gz", "/a/b.tar"},
        {"/a/.hidden", ".hidden", "", "/a/.hidden"},
        {"/a/b.mov/", "b.mov", "mov", "/a/b"},
        {"/", "/", "", "/"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(lastPathComponent(c.path), c.name) << c.path.toStdString();
        EXPECT_EQ(pathExtension(c.path), c.extension) << c.path.toStdString();
        EXPECT_EQ(withoutExtension(c.path), c.without) << c.path.toStdString();
    }
}

TEST_F(PathNamesTest, AliasesLeadToWhatExists)
{
    const QString target = make("the target.mov");
    const QByteArray url = "file://" + QFile::encodeName(target).replace(" ", "%20");
    const QByteArray remote = "http://localhost" + url.mid(7);
    link("the target.mov", "link");
    link("link", "link2");
    link("missing", "broken");
    link("loop", "loop");
    for (const QString &path :
         {at("link2"),
          make("good.desktop", "[Desktop Entry]\r\nType = Link\r\nURL=" + url + "\r\n"),
          make("host.desktop",
               "[Desktop Entry]\nURL=file://localhost" + url.mid(7) + "\nType=Link\n")}) {
        EXPECT_EQ(resolveAlias(path), QFileInfo(target).canonicalFilePath()) << path.toStdString();
    }
    for (const QString &path :
         {target, at("broken"), at("loop"), at("missing"), QString(),
          make("app.desktop", "[Desktop Entry]\nType=Application\nURL=" + url),
          make("group.desktop", "[Other]\nType=Link\nURL=" + url),
          make("web.desktop", "[Desktop Entry]\nType=Link\nURL=" + remote),
          make("noise.desktop", QByteArray(200000, '\xff'))}) {
        EXPECT_TRUE(resolveAlias(path).isNull()) << path.toStdString();
    }
}
