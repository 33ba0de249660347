#include "support/files_fixture.h"

#include "support/deletion_guard.h"
#include "support/foreign_names.h"

#include <QDateTime>
#include <QStorageInfo>

#include <fcntl.h>
#include <sys/stat.h>

using namespace qv;

namespace
{

using DeletionTest = FilesTest;
using TransferTest = FilesTest;
using ListingTest = FilesTest;

} // namespace

// --- deleting ------------------------------------------------------------------------------------

TEST_F(DeletionTest, IsRefusedForHomesSystemFoldersAndMountedDisks)
{
    const QString home = QDir::homePath();
    link(QFileInfo(home).path(), "homes");
    const QStringList refused = {
        home,      QFileInfo(home).path(), home + "/Movies/..", at("homes/tester"), "/",
        "/tmp/..", "/Users/somebody",      "/Volumes/Disk",     "/home/somebody",   "/*",
        "/*/a/b"};
    for (const QString &path : refused) {
        EXPECT_FALSE(deletionIsAllowed(path)) << path.toStdString();
    }
    EXPECT_FALSE(rmCocoa("/Volumes/Disk")) << "although there is none";
    for (const QString &path : {home + "/Movies/sheet.png", QString("/Volumes/Disk/folder/file"),
                                QString("/KVSauthoring"), at("homes")}) {
        EXPECT_TRUE(deletionIsAllowed(path)) << path.toStdString();
    }
}

TEST_F(DeletionTest, TakesFilesAndWholeFoldersButNotWhatLinksLeadTo)
{
    const QString kept = make("kept/file");
    make("gone/a/b");
    link(at("kept"), "gone/link");
    link(at("kept"), "link");
    link("nowhere", "dangling");
    EXPECT_TRUE(rmCocoa(at("gone")));
    EXPECT_TRUE(rmCocoa(at("gone")));
    EXPECT_TRUE(rmCocoa(at("dangling")));
    EXPECT_TRUE(rmCocoa(at("link/")));
    EXPECT_EQ(subpaths(m_folder.path()), QStringList({at("kept"), kept}));
}

// --- trying a folder -----------------------------------------------------------------------------

TEST_F(ListingTest, ATriedFolderIsLeftAsItWasButForProbesThatWereForgotten)
{
    const auto probe = [&](const char *name, int age) {
        QDir(m_folder.path()).mkdir(name);
        const timespec then = {QDateTime::currentSecsSinceEpoch() - age, 0};
        const timespec times[] = {then, then};
        ::utimensat(AT_FDCWD, QFile::encodeName(at(name)).constData(), times, 0);
    };
    probe("_KVdir1", 100);
    probe("_KVdir2", 5); // of another process that is at it
    make("_KVdir3/file");
    probe("_KVdir3", 100);
    make("_KVdir4"); // a file of the user's
    const timespec old[] = {{1, 0}, {1, 0}};
    ::utimensat(AT_FDCWD, QFile::encodeName(at("_KVdir4")).constData(), old, 0);
    EXPECT_TRUE(droitsAcces(m_folder.path()));
    EXPECT_EQ(subpaths(m_folder.path()),
              QStringList({at("_KVdir2"), at("_KVdir3"), at("_KVdir3/file"), at("_KVdir4")}));
    EXPECT_FALSE(droitsAcces("/proc"));
}

// --- making, moving, copying ---------------------------------------------------------------------

TEST_F(TransferTest, OnlyTheExactFlagReplaces)
{
    const QString source = make("source", "new");
    const QString destination = make("destination", "old");
    for (const char *flag : {"-y", "", "Y", "yes"}) {
        EXPECT_FALSE(moveFile(source, destination, flag));
        EXPECT_FALSE(copyFile(source, destination, flag));
    }
    EXPECT_EQ(contentOf(destination), "old");

    EXPECT_TRUE(copyFile(source, destination, "y"));
    EXPECT_EQ(contentOf(destination), "new");
    EXPECT_TRUE(moveFile(source, destination, "y"));
    EXPECT_FALSE(moveFile(source, destination, "y"));
    EXPECT_EQ(contentOf(destination), "new");
}

TEST_F(TransferTest, FoldersGoAsAWholeWithPermissionsDatesAndLinks)
{
    const QString file = make("from/sub/file", "x");
    link("file", "from/sub/link");
    ASSERT_EQ(::chmod(QFile::encodeName(file).constData(), 0640), 0);
    const QDateTime when(QDate(2011, 2, 3), QTime(4, 5, 6));
    QFile stamped(file);
    ASSERT_TRUE(stamped.open(QIODevice::ReadWrite));
    stamped.setFileTime(when, QFileDevice::FileModificationTime);
    stamped.close();

    make("to/old");
    EXPECT_TRUE(copyFile(at("from"), at("to"), "y"));
    const QFileInfo copy(at("to/sub/file"));
    EXPECT_EQ(copy.lastModified(), when);
    EXPECT_EQ(copy.permissions(), QFileInfo(file).permissions());
    EXPECT_TRUE(QFileInfo(at("to/sub/link")).isSymLink());
    EXPECT_FALSE(fileExists(at("to/old")));
    EXPECT_EQ(lsCocoa(m_folder.path()), QStringList({at("from"), at("to")}));
}

TEST_F(TransferTest, LosesNothingWhenItCannotSucceed)
{
    const QString folder = at("folder");
    const QString file = make("folder/file", "precious");
    const QString yes = "y";
    EXPECT_FALSE(moveFile(file, file, yes));
    EXPECT_FALSE(moveFile(file, folder, yes)) << "the source lies in what would be replaced";
    EXPECT_FALSE(moveFile(folder, folder + "/inside", yes));
    EXPECT_FALSE(copyFile(folder, folder + "/inside", yes));
    EXPECT_FALSE(moveFile(file, at("missing/file"), yes));
    ASSERT_EQ(::mkfifo(QFile::encodeName(at("folder/pipe")).constData(), 0600), 0);
    const QString old = make("old", "old");
    EXPECT_FALSE(copyFile(folder, old, yes)) << "a pipe can't be copied";
    EXPECT_EQ(contentOf(old), "old");
    EXPECT_EQ(contentOf(file), "precious");
    EXPECT_EQ(lsCocoa(m_folder.path()).size(), 2);
}

TEST_F(TransferTest, ReachesAnotherVolume)
{
    const QTemporaryDir other("/dev/shm/quorvantel-test-XXXXXX");
    if (QStorageInfo(other.path()) == QStorageInfo(m_folder.path()) || !other.isValid()) {
        GTEST_SKIP() << "there is no second volume";
    }
    make("tree/sub/file", "content");
    const QString arrived = other.filePath("tree");
    write(arrived + "/old", "old");
    EXPECT_TRUE(moveFile(at("tree"), arrived, "y"));
    EXPECT_EQ(contentOf(arrived + "/sub/file"), "content");
    EXPECT_FALSE(fileExists(arrived + "/old"));
    EXPECT_TRUE(lsCocoa(m_folder.path()).isEmpty());
    EXPECT_EQ(lsCocoa(other.path()).size(), 1);
}

// --- listing -------------------------------------------------------------------------------------

TEST_F(ListingTest, GoesThroughSubFoldersByNameWithoutTrashAndLinkedFolders)
{
    for (const char *name :
         {"b.mov", "a/2.mov", "a/10.mov", "a/x/y.mov", ".Trash-1000/t.mov", ".Trashes/t.mov",
          "$RECYCLE.BIN/t.mov", ".Trash-cans/kept.mov", ".local/share/Trash/t.mov"}) {
        make(name);
    }
    link(m_folder.path(), "c-loop");
    QStringList expected;
    for (const char *name : {".Trash-cans", ".Trash-cans/kept.mov", ".local", ".local/share", "a",
                             "a/10.mov", "a/2.mov", "a/x", "a/x/y.mov", "b.mov", "c-loop"}) {
        expected.append(at(name));
    }
    EXPECT_EQ(subpaths(m_folder.path()), expected);
    EXPECT_EQ(lsCocoa(at("a")), QStringList({at("a/10.mov"), at("a/2.mov"), at("a/x")}));
}

TEST_F(ListingTest, CopesWithVeryDeepTrees)
{
    constexpr int depth = 400;
    ASSERT_TRUE(QDir(m_folder.path()).mkpath(QString("d/").repeated(depth)));
    EXPECT_EQ(subpaths(m_folder.path()).size(), depth);
    EXPECT_TRUE(copyFile(at("d"), at("e"), QString()));
    EXPECT_EQ(subpaths(at("e")).size(), depth - 1);
    EXPECT_TRUE(rmCocoa(at("d")));
}

TEST_F(ListingTest, FilesWithUndecodableNamesAreReachedThroughLinks)
{
    setForeignNamesFolder(at("links"));
    const std::string folder = QFile::encodeName(at("in")).toStdString();
    ASSERT_TRUE(std::filesystem::create_directories(folder + "/d\xfe"));
    for (const std::string &name :
         {std::string("a\xff.mov"), std::string("a\xfe.mov"), std::string("d\xfe/in.mov"),
          std::string("cut\xc3"), std::string(240, '\xff').append(".mov")}) {
        const QString plain = make("plain");
        std::filesystem::rename(plain.toStdString(), folder + '/' + name);
    }
    const QStringList found = subpaths(at("in"));
    ASSERT_EQ(found.size(), 5);
    for (const QString &path : found) {
        EXPECT_TRUE(QFileInfo(path).isFile()) << path.toStdString();
        EXPECT_NE(shownPath(path), path);
        EXPECT_TRUE(resolveAlias(path).isNull());
    }
    EXPECT_EQ(lastPathComponent(found[1]), "a\ufffd.mov");
    EXPECT_EQ(shownPath(found[1]), at("in/a\ufffd.mov"));
    EXPECT_EQ(lastPathComponent(found[4]).right(5), "\ufffd.mov");
    EXPECT_EQ(subpaths(at("in")), found) << "a file has one link only";
    setForeignNamesFolder(QString());
}

TEST_F(FilesTest, TrashTakesAFolderAndAFoldersSizeIsThatOfAllBelow)
{
    make("bag/deep/a", QByteArray(1536 * 1024, 'x'));
    make("bag/b", QByteArray(512 * 1024, 'x'));
    EXPECT_FLOAT_EQ(folderSize(at("bag")), 2.0F);
    EXPECT_TRUE(moveToTrash(at("bag")));
    EXPECT_FALSE(fileExists(at("bag")));
}
