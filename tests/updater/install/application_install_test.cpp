#include "updater/install/application_install.h"

#include "common/folder_test.h"
#include "common/log_capture.h"
#include "common/ordinary_user.h"
#include "common/wait_until.h"
#include "process/child_process.h"
#include "support/files.h"
#include "updater/archive/application_archive.h"
#include "updater/install/add_on_versions.h"

#include "updater/archive/zip_bytes.h"
#include "updater/signing_key.h"
#include "updater/small_application.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

using namespace qv;
using testing::HasSubstr;

namespace
{

class InstallTest : public HomeTest
{
protected:
    InstallTest()
    {
        SmallApplication{.version = "1.0"}.write(running());
        SmallApplication{.version = "2.0"}.write(offered());
    }
    QString running() const { return path("place/Quorvantel.app"); }
    QString offered() const { return path("dl/Quorvantel.app"); }
    QString versionAt(const QString &bundle) const { return Bundle(bundle).version(); }
    // Also what is hidden.
    QStringList namesIn(const QString &folder) const
    {
        return QDir(path(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    void removeTreeOf(const QString &folder) { QDir(path(folder)).removeRecursively(); }
    Installation install(const DiskMoves &moves = DiskMoves::real())
    {
        return installApplication(offered(), running(), "Quorvantel 2.zip", moves);
    }

    LogCapture m_log;
};

DiskMoves withoutExchange()
{
    DiskMoves moves = DiskMoves::real();
    moves.exchange = [](const QString &, const QString &) {
        return DiskMoves::Exchange::Unsupported;
    };
    return moves;
}

// As the first rename does on another volume, whose items have to be copied.
DiskMoves failingRename(int number, DiskMoves moves = DiskMoves::real())
{
    moves.rename = [real = moves.rename, number, count = 0](const QString &from,
                                                            const QString &to) mutable {
        return ++count != number && real(from, to);
    };
    return moves;
}

// The process dies when it wants to move more often.
DiskMoves killingAfter(int moves)
{
    const DiskMoves real = DiskMoves::real();
    const auto left = std::make_shared<int>(moves);
    const auto count = [left] {
        if ((*left)-- == 0) {
            ::kill(::getpid(), SIGKILL);
        }
    };
    return {[=](const QString &a, const QString &b) {
                count();
                return real.exchange(a, b);
            },
            [=](const QString &from, const QString &to) {
                count();
                return real.rename(from, to);
            },
            [=](const QString &path) {
                count();
                return real.trash(path);
            }};
}

} // namespace

TEST_F(InstallTest, TheNewVersionTakesThePlaceAndTheOldOneLiesInTheTrash)
{
    for (const DiskMoves &moves : {DiskMoves::real(), withoutExchange(), failingRename(1)}) {
        SmallApplication{.version = "1.0"}.write(running());
        SmallApplication{.version = "2.0"}.write(offered());
        const Installation done = install(moves);
        EXPECT_TRUE(done.error.isNull()) << qPrintable(done.error);
        EXPECT_EQ(versionAt(running()), "2.0");
        EXPECT_TRUE(done.isOldTrashed);
        EXPECT_EQ(versionAt(done.oldAt), "1.0");
        EXPECT_EQ(namesIn("place"), QStringList{"Quorvantel.app"});
        EXPECT_TRUE(QFileInfo(running() + "/Contents/MacOS/Quorvantel").isExecutable());
        EXPECT_TRUE(m_log.contains("moveToTrash         ? 1"));
        removeTreeOf("place");
    }
    const QDir info(path("home/.local/share/Trash/info"));
    ASSERT_FALSE(info.entryList(QDir::Files).isEmpty());
    EXPECT_THAT(contentOf(info.filePath(info.entryList(QDir::Files).first())).toStdString(),
                HasSubstr("Path=" + running().toStdString() + "\n"))
        << "it can be put back from the trash";
}

// Each fault in turn: the old version is at its place, or the outcome tells where it lies.
TEST_F(InstallTest, WhateverFailsTheOldVersionIsNotLost)
{
    const DiskMoves real = DiskMoves::real();
    DiskMoves noExchange = real;
    noExchange.exchange = [](const QString &, const QString &) {
        return DiskMoves::Exchange::Failed;
    };
    const struct {
        const char *what;
        DiskMoves moves;
    } cases[] = {{"the exchange fails", noExchange},
                 {"the old one can't be moved away", failingRename(2, withoutExchange())},
                 {"the new one can't be moved in", failingRename(3, withoutExchange())}};
    for (const auto &c : cases) {
        SmallApplication{.version = "2.0"}.write(offered());
        const Installation done = install(c.moves);
        EXPECT_FALSE(done.error.isNull()) << c.what;
        EXPECT_EQ(versionAt(running()), "1.0") << c.what;
        EXPECT_EQ(namesIn("place"), QStringList{"Quorvantel.app"}) << c.what;
    }
    // Neither in nor back.
    SmallApplication{.version = "2.0"}.write(offered());
    DiskMoves onlyAway = withoutExchange();
    onlyAway.rename = [real, count = 0](const QString &from, const QString &to) mutable {
        return ++count < 3 && real.rename(from, to);
    };
    const Installation lost = install(onlyAway);
    EXPECT_FALSE(lost.error.isNull());
    EXPECT_EQ(versionAt(lost.oldAt), "1.0");
}

// The copy from another volume ends in the middle.
TEST_F(InstallTest, AFullDiskLeavesTheOldVersion)
{
    writeFile(offered() + "/Contents/Resources/large", QByteArray(200'000, 'x'));
    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {100'000, 100'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::_exit(install(failingRename(1)).error.isNull() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "it says that it failed";
    EXPECT_EQ(versionAt(running()), "1.0");
    EXPECT_EQ(namesIn("place"), QStringList{"Quorvantel.app"});
}

// Killed before each of its moves in turn: a whole application stands at the place all the same.
TEST_F(InstallTest, AKilledInstallationLeavesAnApplicationAtItsPlace)
{
    constexpr int moreThanItsMoves = 8;
    int killed = 0;
    for (int last = 0; last < moreThanItsMoves; ++last) {
        removeTreeOf("place");
        SmallApplication{.version = "1.0"}.write(running());
        SmallApplication{.version = "2.0"}.write(offered());
        const pid_t child = ::fork();
        if (child == 0) {
            install(killingAfter(last));
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        killed += WIFSIGNALED(status) ? 1 : 0;
        EXPECT_THAT(versionAt(running()).toStdString(), testing::AnyOf("1.0", "2.0")) << last;
        EXPECT_TRUE(QFileInfo(running() + "/Contents/MacOS/Quorvantel").isExecutable()) << last;
        clearLeftUpdates(Bundle(running()));
        EXPECT_EQ(namesIn("place"), QStringList{"Quorvantel.app"}) << last;
    }
    EXPECT_GE(killed, 3) << "staging, exchange, trash";
}

TEST_F(InstallTest, WhatTheTrashDoesNotTakeStaysBeside)
{
    DiskMoves moves = DiskMoves::real();
    moves.trash = [](const QString &) { return QString(); };
    const Installation done = install(moves);
    EXPECT_TRUE(done.error.isNull());
    EXPECT_FALSE(done.isOldTrashed);
    EXPECT_EQ(done.oldAt, path("place/Quorvantel (1).app"));
    EXPECT_EQ(versionAt(done.oldAt), "1.0");
    EXPECT_EQ(versionAt(running()), "2.0");
}

TEST_F(InstallTest, AnUnwritablePlaceSendsItToTheDesktop)
{
    DiskMoves moves = DiskMoves::real();
    moves.trash = [](const QString &) { return QString(); };
    for (const QString &closed : {running(), path("place")}) {
        const auto installClosed = [&](const QString &version) {
            SmallApplication{.version = version}.write(offered());
            QFile::setPermissions(closed, QFile::ReadOwner | QFile::ExeOwner);
            const Installation done = [&] {
                const OrdinaryUser user;
                return install(moves);
            }();
            QFile::setPermissions(closed, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            return done;
        };
        const Installation done = installClosed("2.0");
        EXPECT_TRUE(done.error.isNull()) << qPrintable(done.error);
        EXPECT_TRUE(done.isOnDesktop);
        EXPECT_EQ(done.installedAt, path("home/Desktop/Quorvantel 2.zip"));
        EXPECT_EQ(versionAt(running()), "1.0");
        EXPECT_TRUE(m_log.contains("moveToTrash         ? 0"));
        EXPECT_THAT(installClosed("1.5").error.toStdString(), HasSubstr("2.0 is already at"));
        EXPECT_EQ(versionAt(done.installedAt), "2.0");
        removeTreeOf("home/Desktop");
    }
}

TEST_F(InstallTest, ClearsOnlyWhatAKilledInstallationLeft)
{
    QDir().mkpath(path("place/.quorvantel-update-abc/Quorvantel.app"));
    writeFile(path("place/.quorvantel-update-file"), "the user's");
    QDir().mkpath(path("target"));
    QFile::link(path("target"), path("place/.quorvantel-update-link"));
    clearStagingFolders(path("place"));
    EXPECT_THAT(namesIn("place"),
                testing::UnorderedElementsAre(".quorvantel-update-file", ".quorvantel-update-link",
                                              "Quorvantel.app"));
}

TEST_F(InstallTest, AnAddOnReplacesOnlyAnOlderOne)
{
    const QString item = path("dl/ffmpeg");
    const QString installed = path("home/Library/Application Support/Quorvantel/ffmpeg");
    const Bundle bundle(running());
    const struct {
        const char *version;
        bool isDeletedBefore, isTaken;
    } cases[] = {{"1.0", false, true},  {"2.0", false, true}, {"2.0", false, false},
                 {"1.5", false, false}, {"1.5", true, false}, {"2.0", false, true}};
    for (const auto &c : cases) {
        if (c.isDeletedBefore) {
            QFile::remove(installed);
        }
        const QByteArray content = QByteArray::number(&c - cases);
        writeFile(item, content);
        EXPECT_EQ(installAddOn(item, c.version, bundle).isNull(), c.isTaken) << c.version;
        EXPECT_EQ(contentOf(installed) == content, c.isTaken) << c.version;
    }
    EXPECT_FALSE(installAddOn(path("dl/none"), "3.0", bundle).isNull());
    EXPECT_EQ(AddOnVersions(bundle).of("none"), QString()) << "a failure is not recorded";
    writeFile(path("home/Library/Preferences/org.quorvantel.Quorvantel.add-ons.plist"), "damaged");
    EXPECT_THAT(installAddOn(item, "3.0", bundle).toStdString(),
                HasSubstr("add-ons can't be read"));
}

TEST_F(InstallTest, TheRelaunchQuotesThePathForTheShell)
{
    const QString place = path("it's $(touch bad) \"here\"; `x`/A.app");
    SmallApplication{.version = "3.0", .program = "echo $VERSION\n"}.write(place);
    QString command = relaunchCommand(place, "Quorvantel");
    ASSERT_TRUE(command.startsWith("/bin/sleep 10 && "));
    command.remove("/bin/sleep 10 && ");
    QProcess shell;
    shell.setWorkingDirectory(m_folder.path());
    shell.start("/bin/sh", {"-c", command});
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_EQ(shell.readAllStandardOutput(), "3.0\n");
    EXPECT_FALSE(QFileInfo::exists(path("bad")));
}

// ---- what the archive holds

TEST(ArchiveNames, AreLastComponentsThatAreSafe)
{
    EXPECT_EQ(archiveName("http://u.example/a/Quorvantel-2.zip"), "Quorvantel-2.zip");
    EXPECT_TRUE(isApplicationAddress("http://u.example/a/QUORVANTEL-2.zip"));
    EXPECT_FALSE(isApplicationAddress("http://quorvantel.example/a/ffmpeg.zip"));
    for (const QString bad :
         {"", "http://u.example/..", "http://u.example/.", "http://u.example/dlCenter/"}) {
        EXPECT_TRUE(archiveName(bad).isNull()) << qPrintable(bad);
    }
    EXPECT_TRUE(archiveName("http://u.example/" + QString(300, 'a')).isNull());
}

TEST_F(InstallTest, OnlyANewerVersionThatStartsHereIsTaken)
{
    const struct {
        const char *what;
        SmallApplication application;
        const char *reason; // null: it is taken
    } cases[] = {
        {"newer", {}, nullptr},
        {"the same", {.version = "1.0"}, "not newer than 1.0"},
        {"older", {.version = "0.9"}, "not newer than 1.0"},
        {"not newer than what was installed meanwhile", {.version = "1.4"}, "not newer than 1.5"},
        {"another application", {.identifier = "org.other"}, "another application"},
        {"it fails", {.program = "exit 1\n"}, "on this system (ended with exit status 1)"},
        {"it crashes", {.program = "kill -SEGV $$\n"}, "on this system (died by"},
        {"it prints another version", {.program = "echo 12.0\n"}, "is not version 2.0"},
        {"it is killed", {.program = "kill -KILL $$\n"}, "not be tried: its trial start died by"},
        {"it hangs", {.program = "sleep 100\n"}, "not be tried: its trial start neither printed"},
    };
    const Bundle started(running());
    std::atomic<bool> isCancelled = false;
    const double usual = toolIdleLimit();
    setToolIdleLimit(0.5);
    const auto unpacked = [&] {
        const auto found = unpackedApplication(path("dl"), started, {}, isCancelled);
        return found ? std::string() : found.error().toStdString();
    };
    for (const auto &c : cases) {
        removeTreeOf("dl");
        c.application.write(offered());
        SmallApplication{.version = QString(c.reason).contains("1.5") ? "1.5" : "1.0"}.write(
            running());
        QFile::setPermissions(offered() + "/Contents/MacOS/Quorvantel",
                              QFile::ReadOwner | QFile::WriteOwner);
        const std::string reason = unpacked();
        EXPECT_EQ(reason.empty(), c.reason == nullptr) << c.what << ": " << reason;
        EXPECT_THAT(reason, HasSubstr(c.reason == nullptr ? "" : c.reason));
    }
    setToolIdleLimit(usual);
    EXPECT_TRUE(QFileInfo(offered() + "/Contents/Resources/tools/ffmpeg").isExecutable());
    SmallApplication().write(offered());
    isCancelled = true;
    EXPECT_EQ(unpacked(), "the new version could not be tried: its trial start was stopped");
    isCancelled = false;
    QFile::remove(offered() + "/Contents/MacOS/Quorvantel");
    QFile::link("/bin/true", offered() + "/Contents/MacOS/Quorvantel");
    EXPECT_THAT(unpacked(), HasSubstr("incomplete"));
    removeTreeOf("dl");
    EXPECT_THAT(unpacked(), HasSubstr("no application"));
}

// The file is exchanged between the check and unpacking.
TEST_F(InstallTest, UnpacksTheVeryFileThatWasChecked)
{
    const QString archive = path("a.zip");
    const auto opened = [&](const QByteArray &content) {
        QFile::remove(archive);
        writeFile(archive, zipBytes({{"tool", content}}));
        return FileDescriptor(::open(QFile::encodeName(archive).constData(), O_RDONLY));
    };
    const FileDescriptor good = opened("good");
    const SignedManifest manifest = manifestOf(archive, "2.0");
    const FileDescriptor evil = opened("evil");
    const std::atomic<bool> no = false;
    EXPECT_FALSE(openArchive(evil.get(), manifest, path("dl"), no));
    EXPECT_TRUE(openArchive(good.get(), manifest, path("dl"), no));
    EXPECT_EQ(contentOf(path("dl/tool")), "good");
}

TEST_F(InstallTest, AnAddOnIsNamedAsItsArchive)
{
    EXPECT_FALSE(unpackedAddOn(path("dl"), "tool.zip"));
    writeFile(path("dl/tool"), "#!/bin/sh\n");
    EXPECT_EQ(unpackedAddOn(path("dl"), "tool.zip").value_or(""), path("dl/tool"));
    EXPECT_TRUE(QFileInfo(path("dl/tool")).isExecutable());
    EXPECT_FALSE(unpackedAddOn(path("dl"), "tool")) << "an archive is no add-on itself";
}
