#include "support/files_fixture.h"

#include "support/deletion_guard.h"
#include "support/foreign_names.h"
#include "support/platform.h"

#include <QDateTime>
#include <QStorageInfo>

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

using namespace qv;

namespace
{

class DeletionTest : public FilesTest
{
};
class TransferTest : public FilesTest
{
};
class ListingTest : public FilesTest
{
};

} // namespace

// --- deleting ------------------------------------------------------------------------------------

// Only asked, never tried.
TEST_F(DeletionTest, IsRefusedForHomesSystemFoldersAndMountedDisks)
{
    const QString home = QDir::homePath();
    make(QStringLiteral("sub/file"));
    ASSERT_TRUE(QFile::link(QFileInfo(home).path(), at(QStringLiteral("homes"))));
    const QStringList refused = {
        home,
        home + QStringLiteral("/"),
        home.chopped(3),
        QFileInfo(home).path(),
        home + QStringLiteral("/Movies/.."),
        at(QStringLiteral("homes/tester")),
        QStringLiteral("/"),
        QStringLiteral("//"),
        QStringLiteral("/tmp/.."),
        QStringLiteral("/Users"),
        QStringLiteral("/Users/") + platform::loginName(),
        QStringLiteral("/Users/somebody"),
        QStringLiteral("/Volumes/Disk"),
        QStringLiteral("/Volumes/Disk/"),
        QStringLiteral("/media/disk"),
        QStringLiteral("/home/somebody"),
        QStringLiteral("/Applications"),
        QStringLiteral("/*"),
        QStringLiteral("*"),
        QStringLiteral("/*/a/b"),
    };
    for (const QString &path : refused) {
        EXPECT_FALSE(deletionIsAllowed(path)) << path.toStdString();
    }
    const QString volume = QStringLiteral("/dev/shm");
    if (QStorageInfo(volume).rootPath() == volume) {
        EXPECT_FALSE(deletionIsAllowed(volume));
    }
    const QStringList allowed = {
        home + QStringLiteral("/Movies/sheet.png"),
        home + QStringLiteral("/Movies"),
        QStringLiteral("/Volumes/Disk/folder/file"),
        QStringLiteral("/KVSauthoring"),
        QStringLiteral("/KVSauthoring/x"),
        at(QStringLiteral("sub/file")),
        at(QStringLiteral("homes")),
    };
    for (const QString &path : allowed) {
        EXPECT_TRUE(deletionIsAllowed(path)) << path.toStdString();
    }
}

TEST_F(DeletionTest, SaysWhyAGuardedPathStays)
{
    EXPECT_FALSE(rmCocoa(QStringLiteral("/Volumes/Disk")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("alerte de sécurité dirname")));
    EXPECT_FALSE(rmCocoa(QStringLiteral("/*/a/b")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("alerte de sécurité joker")));
    EXPECT_FALSE(rmCocoa(QString()));
}

TEST_F(DeletionTest, TakesFilesAndWholeFoldersButNotWhatLinksLeadTo)
{
    const QString kept = make(QStringLiteral("kept/file"));
    make(QStringLiteral("gone/a/b"));
    ASSERT_TRUE(QFile::link(at(QStringLiteral("kept")), at(QStringLiteral("gone/link"))));
    ASSERT_TRUE(QFile::link(at(QStringLiteral("kept")), at(QStringLiteral("link"))));
    EXPECT_TRUE(rmCocoa(at(QStringLiteral("gone"))));
    EXPECT_TRUE(rmCocoa(at(QStringLiteral("link/"))));
    EXPECT_FALSE(fileExists(at(QStringLiteral("gone"))));
    EXPECT_FALSE(fileExists(at(QStringLiteral("link"))));
    EXPECT_TRUE(fileExists(kept));
}

TEST_F(DeletionTest, TakesDanglingLinksAndAcceptsWhatIsGone)
{
    const QString link = at(QStringLiteral("dangling"));
    ASSERT_TRUE(QFile::link(at(QStringLiteral("nowhere")), link));
    EXPECT_TRUE(rmCocoa(link));
    EXPECT_FALSE(QFileInfo(link).isSymLink());
    EXPECT_TRUE(rmCocoa(link));
}

// --- making, moving, copying ---------------------------------------------------------------------

TEST_F(TransferTest, FoldersAreMadeWithWhatLeadsToThemAndExistingOnesServe)
{
    EXPECT_TRUE(mkdir(at(QStringLiteral("a/b/c"))));
    EXPECT_TRUE(mkdir(at(QStringLiteral("a/b/c"))));
    const QString file = make(QStringLiteral("file"));
    EXPECT_FALSE(mkdir(file));
    EXPECT_TRUE(m_log.contains(QStringLiteral("mkdir               :-((")));
    EXPECT_FALSE(mkdir(QString()));
}

TEST_F(TransferTest, OnlyTheExactFlagReplaces)
{
    const QString source = make(QStringLiteral("source"), "new");
    const QString destination = make(QStringLiteral("destination"), "old");
    for (const char *flag : {"-y", "", "Y", "yes"}) {
        EXPECT_FALSE(moveFile(source, destination, QString::fromLatin1(flag)));
        EXPECT_FALSE(copyFile(source, destination, QString::fromLatin1(flag)));
    }
    EXPECT_TRUE(m_log.contains(QStringLiteral("New already exists   :-( ") + destination));
    EXPECT_TRUE(m_log.contains(QStringLiteral("New already exists  :-( ") + destination));
    EXPECT_EQ(contentOf(destination), "old");

    EXPECT_TRUE(copyFile(source, destination, QStringLiteral("y")));
    EXPECT_EQ(contentOf(destination), "new");
    EXPECT_TRUE(moveFile(source, destination, QStringLiteral("y")));
    EXPECT_FALSE(fileExists(source));
    EXPECT_FALSE(moveFile(source, destination, QStringLiteral("y")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("does not exist: ") + source));
    EXPECT_EQ(contentOf(destination), "new");
}

TEST_F(TransferTest, FoldersGoAsAWholeWithPermissionsDatesAndLinks)
{
    const QString file = make(QStringLiteral("from/sub/file"), "x");
    ASSERT_TRUE(QFile::link(QStringLiteral("file"), at(QStringLiteral("from/sub/link"))));
    ASSERT_EQ(::chmod(QFile::encodeName(file).constData(), 0640), 0);
    const QDateTime when(QDate(2011, 2, 3), QTime(4, 5, 6));
    QFile stamped(file);
    ASSERT_TRUE(stamped.open(QIODevice::ReadWrite));
    stamped.setFileTime(when, QFileDevice::FileModificationTime);
    stamped.close();

    make(QStringLiteral("to/old"));
    EXPECT_TRUE(
        copyFile(at(QStringLiteral("from")), at(QStringLiteral("to")), QStringLiteral("y")));
    const QFileInfo copy(at(QStringLiteral("to/sub/file")));
    EXPECT_EQ(copy.lastModified(), when);
    EXPECT_EQ(copy.permissions(), QFileInfo(file).permissions());
    EXPECT_TRUE(QFileInfo(at(QStringLiteral("to/sub/link"))).isSymLink());
    EXPECT_FALSE(fileExists(at(QStringLiteral("to/old"))));
    EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList({"from", "to"}));
}

TEST_F(TransferTest, LosesNothingWhenItCannotSucceed)
{
    const QString folder = at(QStringLiteral("folder"));
    const QString file = make(QStringLiteral("folder/file"), "precious");
    const QString yes = QStringLiteral("y");
    EXPECT_FALSE(moveFile(file, file, yes));
    EXPECT_FALSE(moveFile(file, folder, yes)) << "the source lies in what would be replaced";
    EXPECT_FALSE(moveFile(folder, folder + QStringLiteral("/inside"), yes));
    EXPECT_FALSE(copyFile(folder, folder + QStringLiteral("/inside"), yes));
    EXPECT_FALSE(moveFile(file, at(QStringLiteral("missing/file")), yes));
    EXPECT_FALSE(moveFile(file, QString(), yes));
    ASSERT_EQ(::mkfifo(QFile::encodeName(at(QStringLiteral("folder/pipe"))).constData(), 0600), 0);
    const QString old = make(QStringLiteral("old"), "old");
    EXPECT_FALSE(copyFile(folder, old, yes)) << "a pipe can't be copied";
    EXPECT_EQ(contentOf(old), "old");
    EXPECT_EQ(contentOf(file), "precious");
    EXPECT_EQ(lsCocoa(m_folder.path()).size(), 2);
}

TEST_F(TransferTest, ReachesAnotherVolume)
{
    const QTemporaryDir other(QStringLiteral("/dev/shm/quorvantel-test-XXXXXX"));
    struct stat here = {};
    struct stat there = {};
    if (!other.isValid() || ::stat(QFile::encodeName(other.path()).constData(), &there) != 0 ||
        ::stat(QFile::encodeName(m_folder.path()).constData(), &here) != 0 ||
        here.st_dev == there.st_dev) {
        GTEST_SKIP() << "there is no second volume";
    }
    make(QStringLiteral("tree/sub/file"), "content");
    const QString arrived = other.filePath(QStringLiteral("tree"));
    make(QStringLiteral("single"), "s");
    write(arrived + QStringLiteral("/old"), "old");
    EXPECT_TRUE(moveFile(at(QStringLiteral("tree")), arrived, QStringLiteral("y")));
    EXPECT_TRUE(moveFile(at(QStringLiteral("single")), other.filePath(QStringLiteral("single")),
                         QString()));
    EXPECT_EQ(contentOf(arrived + QStringLiteral("/sub/file")), "content");
    EXPECT_FALSE(fileExists(arrived + QStringLiteral("/old")));
    EXPECT_TRUE(lsCocoa(m_folder.path()).isEmpty());
    EXPECT_EQ(lsCocoa(other.path()).size(), 2);
}

TEST_F(TransferTest, WritableFoldersAreToldByTrying)
{
    const QString file = make(QStringLiteral("file"));
    EXPECT_TRUE(droitsAcces(m_folder.path()));
    EXPECT_TRUE(droitsAcces(file)) << "its folder is tested";
    EXPECT_TRUE(m_log.contains(QStringLiteral("droitsAcces         ? 1 (") + file));
    EXPECT_FALSE(droitsAcces(QStringLiteral("/proc")));
    EXPECT_FALSE(droitsAcces(QString()));
    EXPECT_EQ(lsCocoa(m_folder.path()), QStringList(file));
}

TEST_F(TransferTest, TrashTakesTheItem)
{
    const QString file = write(QDir::homePath() + QStringLiteral("/trashed"), "x");
    EXPECT_TRUE(moveToTrash(file));
    EXPECT_FALSE(fileExists(file));
    EXPECT_TRUE(fileExists(QStringLiteral("~/.local/share/Trash/files/trashed")));
    EXPECT_TRUE(moveToTrash(file)) << "an item that is not there is not reported";
    EXPECT_FALSE(moveToTrash(QString()));
}

// --- listing -------------------------------------------------------------------------------------

TEST_F(ListingTest, GoesThroughSubFoldersByNameWithoutTrashAndLinkedFolders)
{
    for (const char *name :
         {"b.mov", "a/2.mov", "a/10.mov", "a/x/y.mov", ".Trash-1000/t.mov", ".Trashes/t.mov",
          "$RECYCLE.BIN/t.mov", ".Trash-cans/kept.mov", ".local/share/Trash/t.mov"}) {
        make(QString::fromLatin1(name));
    }
    ASSERT_TRUE(QFile::link(m_folder.path(), at(QStringLiteral("c-loop"))));
    EXPECT_EQ(names(subpaths(m_folder.path())),
              QStringList({".Trash-cans", ".Trash-cans/kept.mov", ".local", ".local/share", "a",
                           "a/10.mov", "a/2.mov", "a/x", "a/x/y.mov", "b.mov", "c-loop"}));
    EXPECT_EQ(names(lsCocoa(at(QStringLiteral("a")))), QStringList({"a/10.mov", "a/2.mov", "a/x"}));
    EXPECT_TRUE(subpaths(at(QStringLiteral("missing"))).isEmpty());
    EXPECT_TRUE(subpaths(QString()).isEmpty());
}

TEST_F(ListingTest, CopesWithVeryDeepTrees)
{
    constexpr int depth = 400;
    const QString deep = QStringLiteral("d/").repeated(depth);
    ASSERT_TRUE(QDir(m_folder.path()).mkpath(deep));
    EXPECT_EQ(subpaths(m_folder.path()).size(), depth);
    EXPECT_TRUE(copyFile(at(QStringLiteral("d")), at(QStringLiteral("e")), QString()));
    EXPECT_EQ(subpaths(at(QStringLiteral("e"))).size(), depth - 1);
    EXPECT_TRUE(rmCocoa(at(QStringLiteral("d"))));
}

TEST_F(ListingTest, FilesWithUndecodableNamesAreReachedThroughLinks)
{
    setForeignNamesFolder(at(QStringLiteral("links")));
    const std::string folder = QFile::encodeName(at(QStringLiteral("in"))).toStdString();
    const std::string longName = std::string(240, '\xff') + ".mov";
    ASSERT_TRUE(std::filesystem::create_directories(folder + "/d\xfe"));
    for (const std::string &name :
         {std::string("a\xff.mov"), std::string("a\xfe.mov"), std::string("d\xfe/in.mov"),
          std::string("cut\xc3"), longName}) {
        const QString plain = make(QStringLiteral("plain"));
        std::filesystem::rename(plain.toStdString(), folder + '/' + name);
    }
    const QStringList found = subpaths(at(QStringLiteral("in")));
    ASSERT_EQ(found.size(), 5);
    for (const QString &path : found) {
        EXPECT_TRUE(QFileInfo(path).isFile()) << path.toStdString();
        EXPECT_NE(shownPath(path), path);
        EXPECT_TRUE(resolveAlias(path).isNull());
    }
    EXPECT_EQ(QSet<QString>(found.begin(), found.end()).size(), 5);
    EXPECT_EQ(lastPathComponent(found[1]), QStringLiteral("a\ufffd.mov"));
    EXPECT_EQ(shownPath(found[1]), at(QStringLiteral("in/a\ufffd.mov")));
    EXPECT_TRUE(found[4].endsWith(QStringLiteral(".mov")));
    EXPECT_EQ(subpaths(at(QStringLiteral("in"))), found) << "a file has one link only";
    EXPECT_EQ(usablePath("/plain/é"), QStringLiteral("/plain/é"));
    setForeignNamesFolder(QString());
    EXPECT_EQ(usablePath("/x/\xff"), QStringLiteral("/x/\ufffd"));
}
