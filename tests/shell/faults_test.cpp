// What goes wrong around the application: it is killed, folders go, files are damaged.

#include "shell/desktop_fixture.h"

#include "support/diagnostics.h"
#include "support/property_list.h"

#include <QProcess>
#include <QScopeGuard>
#include <QScreen>

#include <csignal>
#include <sys/mount.h>
#include <unistd.h>

using namespace qv;
using testing::HasSubstr;

namespace
{

const char *const folderVariable = "QV_FAULTS_FOLDER";

QStringList entriesOf(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

QList<pid_t> childrenOf(qint64 pid)
{
    QList<pid_t> children;
    for (const QByteArray &child :
         contentOf(QString("/proc/%1/task/%1/children").arg(pid)).simplified().split(' ')) {
        if (child.toInt() > 0) {
            children.append(child.toInt());
        }
    }
    return children;
}

// A zombie is dead: who inherited it may be slow to reap it.
bool isAlive(pid_t pid)
{
    const QByteArray stat = contentOf(QString("/proc/%1/stat").arg(pid));
    return !stat.isEmpty() && !stat.mid(stat.lastIndexOf(')') + 2).startsWith('Z');
}

} // namespace

class FaultsTest : public DesktopFixture
{
protected:
    FaultsTest() : DesktopFixture(qEnvironmentVariable(folderVariable)) {}

    bool waitForRun(const QByteArray &run)
    {
        return waitUntil([&] { return contentOf(path("runs")).contains(run); });
    }
    QString told() const
    {
        QStringList texts;
        for (const Alert &alert : m_presenter->shown) {
            texts << Alert::shownText(alert.title) << Alert::shownText(alert.detail);
        }
        return texts.join('\n');
    }
    QString reasonOf(int row) { return controller().table().row(row).reason; }

    QString settingsFile() const { return PreferencesStore::userFile(Bundle::main().identifier()); }
    QVariantMap storedSettings() const
    {
        return readPropertyList(settingsFile()).value_or(QVariant()).toMap();
    }

    // A process that runs one of the disabled tests below over this test's folder.
    void startAnother(QProcess &process, const QString &test)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(folderVariable, m_root);
        process.setProcessEnvironment(environment);
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start("/proc/self/exe", {"--gtest_also_run_disabled_tests",
                                         "--gtest_filter=FaultsTest.DISABLED_" + test});
        ASSERT_TRUE(process.waitForStarted());
    }
    void killWithTools(QProcess &process)
    {
        const QList<pid_t> tools = childrenOf(process.processId());
        EXPECT_FALSE(tools.isEmpty()) << "no tool was running";
        process.kill();
        process.waitForFinished();
        EXPECT_TRUE(waitUntil([&] { return std::none_of(tools.begin(), tools.end(), isAlive); }))
            << "a tool outlives the application";
        std::for_each(tools.begin(), tools.end(), [](pid_t tool) { ::kill(tool, SIGKILL); });
    }
};

// ---- killed

// Run in a process of its own, which is killed.
TEST_F(FaultsTest, DISABLED_Encodes)
{
    ASSERT_TRUE(start());
    m_desktop->preferences().prefsWriteAll({{"prefLimitMed", 21}});
    ASSERT_TRUE(bringIn({"one.mp4", "picture-hang-2.mp4"}));
    go();
    waitUntil([] { return false; }, 60'000);
}

TEST_F(FaultsTest, DISABLED_WritesSettings)
{
    PreferencesStore store(settingsFile(), PreferencesStore::Saving::Written);
    for (int i = 0; i < 1'000'000; ++i) {
        store.prefWrite("prefLimitMed", 21);
        store.prefWrite("processEncDico", QString(i % 50'000, 'x'));
        store.synchronize();
    }
}

TEST_F(FaultsTest, KilledWhileItEncodesLeavesOnlyWholeSheets)
{
    const QString sheets = path("home/Movies/Quorvantel");
    writeFile(sheets + "/mine/film.txt", "kept");
    QProcess application;
    startAnother(application, "Encodes");
    ASSERT_TRUE(waitForRun("picture 2 picture-hang-2.mp4"));
    EXPECT_TRUE(fileExists(sheets + "/picture-hang-2")) << "stills beside the sheet";
    killWithTools(application);

    ASSERT_TRUE(start());
    EXPECT_EQ(entriesOf(sheets), (QStringList{"mine", "one.jpg"}));
    EXPECT_FALSE(QImage(sheets + "/one.jpg").isNull());
    EXPECT_EQ(contentOf(sheets + "/mine/film.txt"), "kept");
    EXPECT_EQ(entriesOf(temporaryFolder()), (QStringList{".lock", "app.app", "tools"}));
    EXPECT_EQ(entriesOf(toolFolder()), QStringList());
    EXPECT_EQ(m_presenter->shown.size(), 0) << qPrintable(told());
    const QVariantMap stored = storedSettings();
    EXPECT_EQ(stored.keys(), PreferencesStore::prefsDefaults().keys());
    EXPECT_EQ(stored.value("prefLimitMed").toInt(), 21);
}

// The built application itself.
TEST_F(FaultsTest, KilledWhileItLooksAtAVideoStartsAgainAsBefore)
{
    const QString program = m_bundle.path() + "/Contents/MacOS/Quorvantel";
    QDir().mkpath(QFileInfo(program).path());
    ASSERT_TRUE(QFile::copy(QV_BUILT_APPLICATION, program));
    writeFile(path("analysis-hang.mp4"), "a film");
    for (int run = 0; run < 2; ++run) {
        QFile::remove(path("runs"));
        QProcess application;
        application.start(program, {path("analysis-hang.mp4")});
        ASSERT_TRUE(waitForRun("analysis -1 analysis-hang.mp4"));
        ASSERT_TRUE(waitUntil([&] { return storedSettings().contains("analysisSrcPathStr"); }));
        killWithTools(application);
    }
    ASSERT_TRUE(start());
    EXPECT_EQ(storedSettings().keys(), PreferencesStore::prefsDefaults().keys());
    EXPECT_EQ(entriesOf(temporaryFolder()), (QStringList{".lock", "app.app", "tools"}));
    EXPECT_EQ(entriesOf(toolFolder()), QStringList());
}

TEST_F(FaultsTest, KilledWhileItWritesSettingsLosesNone)
{
    for (int milliseconds : {0, 3, 7, 13, 20}) {
        QProcess writer;
        startAnother(writer, "WritesSettings");
        ASSERT_TRUE(waitUntil([&] { return storedSettings().contains("processEncDico"); }));
        waitUntil([] { return false; }, milliseconds);
        writer.kill();
        writer.waitForFinished();
        EXPECT_EQ(storedSettings().value("prefLimitMed").toInt(), 21);
        QFile::remove(settingsFile());
    }
}

// ---- what is missing or damaged at the start

TEST_F(FaultsTest, TheStartTellsWhatIsWrongAndGoesOn)
{
    const struct {
        const char *name;
        std::function<void()> harm;
        const char *told; // key of the text; null: nothing to tell
    } rows[] = {
        {"nothing wrong", [] {}, nullptr},
        {"no tools", [&] { rmCocoa(Bundle::main().toolsPath()); }, "troubleNoFfmpeg"},
        {"settings are rubbish", [&] { writeFile(settingsFile(), "\xff\x01<plist"); },
         "troubleSettingsDamaged"},
        {"settings are no dictionary",
         [&] { writeFile(settingsFile(), "<plist version=\"1.0\"><array/></plist>"); },
         "troubleSettingsDamaged"},
        {"settings can't be written",
         [&] { writeFile(path("home/Library/Preferences"), "a file"); }, "troubleSettingsNotSaved"},
        {"the home is a file",
         [&] {
             writeFile(path("home-file"), "");
             qputenv("HOME", path("home-file").toUtf8());
         },
         "troubleSettingsNotSaved"},
        {"logs can't be written", [&] { writeFile(path("home/Library/Logs"), "a file"); },
         "troubleNoLogs"},
        {"the temporary folder is a file",
         [&] {
             writeFile(path("tmp-file"), "");
             qputenv("TMPDIR", path("tmp-file").toUtf8());
         },
         "startNoTemporaryFolder"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        qputenv("HOME", path("home").toUtf8());
        qputenv("TMPDIR", path("tmp").toUtf8());
        rmCocoa(path("home/Library"));
        const TestBundle bundle(TestBundle::Ffmpeg::Fake);
        row.harm();
        ASSERT_TRUE(start());
        if (row.told == nullptr) {
            EXPECT_EQ(told().toStdString(), "");
        } else {
            const QString words = localized(row.told).section("%1", 0, 0);
            EXPECT_THAT(told().toStdString(), HasSubstr(words.toStdString()));
        }
        m_desktop.reset();
    }
}

TEST_F(FaultsTest, ImpossibleSettingsAreSetBackAndTheOthersStay)
{
    const QVariantMap odd{{"prefLimitMed", 1'000'000'000},
                          {"prefLimitBig", -3},
                          {"prefLimitMin", QVariantList{1, 2}},
                          {"prefBorderSize", "nan"},
                          {"pageBkgColor", "white, please"},
                          {"prefBorderColor", 7},
                          {"prefColor", -7},
                          {"prefDefautDstPathStr", QString(1'000'000, '/')},
                          {"pageName", QVariantMap{{"a", 1}}}};
    QVariantMap settings = odd;
    settings.insert("prefLimitMix", 60);
    settings.insert("prefFromALaterVersion", "unknown");
    writeFile(settingsFile(), propertyListXml(settings).value_or(QByteArray()));
    ASSERT_TRUE(start());
    EXPECT_THAT(told().toStdString(), HasSubstr(localized("troubleSettingsMended").toStdString()));
    const QVariantMap stored = storedSettings();
    const QVariantMap defaults = PreferencesStore::prefsDefaults();
    EXPECT_EQ(stored.keys(), defaults.keys());
    for (const QString &key : odd.keys()) {
        EXPECT_EQ(stored.value(key).toString(), defaults.value(key).toString()) << qPrintable(key);
    }
    EXPECT_EQ(stored.value("prefLimitMix").toInt(), 60);
}

TEST_F(FaultsTest, TheWindowIsSeenWhateverItsMemorySays)
{
    for (const QByteArray &memory :
         {QByteArray("\x00\xff\x01[[[", 6), QByteArray(200'000, '='),
          QByteArray("[General]\ngeometry=@ByteArray(rubbish)\ndrawerWidth=-5\nlayout=99\n"),
          QByteArray("[General]\ngeometry=@Rect(90000 90000 10 10)\ndrawerOpen=perhaps\n")}) {
        writeFile(path("home/.config/Quorvantel/window.ini"), memory);
        ASSERT_TRUE(start());
        const QRect screen = m_desktop->window().screen()->availableGeometry();
        EXPECT_TRUE(screen.intersects(m_desktop->window().frameGeometry()));
    }
}

// ---- in the middle of a batch

TEST_F(FaultsTest, WithoutAPlaceToWorkNothingIsBlamedOnTheVideos)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(bringIn({"one.mp4"}));
    rmCocoa(path("home/Movies"));
    writeFile(path("home/Movies"), "a file");
    go();
    EXPECT_FALSE(controller().window().goPressed);
    EXPECT_EQ(m_presenter->countOf(localized("D_go_dossier_destination1")), 1);

    rmCocoa(temporaryFolder());
    ASSERT_TRUE(bringIn({"two.mp4"}));
    EXPECT_EQ(m_desktop->drawer().refused()->count(), 1);
    EXPECT_EQ(controller().table().count(), 1);
}

TEST_F(FaultsTest, ARowSaysWhatWasTakenFromIt)
{
    const QString movies = path("home/Movies");
    const QString slow = "picture-missing-2.picture-slow"; // the last picture needs another run
    const struct {
        const char *name;
        std::function<void()> harm;
        const char *reason; // of the row that was being made
        bool nextIsMade;
    } rows[] = {
        {"the source", [&] { QFile::remove(path(slow + ".mp4")); }, "the file has vanished", true},
        {"the destination", [&] { rmCocoa(movies); }, "the destination folder has gone", true},
        {"a file in its place",
         [&] {
             rmCocoa(movies);
             writeFile(movies, "a file");
         },
         "the destination folder has gone", false},
        {"the stills", [&] { rmCocoa(movies + "/Quorvantel/" + slow); },
         "the folder of its stills has gone", true},
        {"the tool", [&] { QFile::remove(m_bundle.tool("ffmpeg")); }, "could not be started",
         false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        rmCocoa(movies);
        QDir().mkpath(movies);
        QFile::remove(path("runs"));
        ASSERT_TRUE(start());
        ASSERT_TRUE(bringIn({slow + ".mp4", "two.mp4"}));
        go();
        ASSERT_TRUE(waitForRun("picture 1 " + slow.toUtf8() + ".mp4"));
        row.harm();
        ASSERT_TRUE(waitForEnd());
        EXPECT_THAT(reasonOf(0).toStdString(), HasSubstr(row.reason));
        EXPECT_EQ(reasonOf(1).isEmpty(), row.nextIsMade) << qPrintable(reasonOf(1));
        const QStringList made = row.nextIsMade ? QStringList{"two.jpg"} : QStringList();
        EXPECT_EQ(entriesOf(movies + "/Quorvantel"), made);
    }
}

TEST_F(FaultsTest, AFullDiskIsAskedAboutOnceAndToldOfEveryRow)
{
    const QByteArray disk = path("home/Movies").toUtf8();
    if (::mount("tmpfs", disk.constData(), "tmpfs", 0, "size=2m") != 0) {
        GTEST_SKIP() << "no disk can be mounted here";
    }
    const auto unmount = qScopeGuard([&] {
        m_desktop.reset();
        EXPECT_EQ(::umount(disk.constData()), 0);
    });
    writeFile(path("home/Movies/fill"), QByteArray(1'500'000, 'x'));
    ASSERT_TRUE(start());
    ASSERT_TRUE(bringIn({"one.mp4", "two.mp4", "three.mp4"}));
    go();
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(m_presenter->countOf(localized("D_go_echec_disque1")), 1);
    for (int row = 0; row < 3; ++row) {
        EXPECT_THAT(reasonOf(row).toStdString(), HasSubstr("no space left"));
    }
    EXPECT_EQ(entriesOf(path("home/Movies/Quorvantel")), QStringList());
}

TEST_F(FaultsTest, WhatComesWhileAQuestionIsOpenIsTakenIn)
{
    writeFile(path("home/Movies/Quorvantel/one.jpg"), "an older sheet");
    ASSERT_TRUE(start());
    ASSERT_TRUE(bringIn({"one.mp4"}));
    writeFile(path("two.mp4"), "a film");
    writeFile(path("three.mp4"), "a film");
    m_presenter->whileShown = [this] {
        m_presenter->whileShown = nullptr;
        m_desktop->openPaths({path("two.mp4")});
        m_desktop->openPaths({path("three.mp4")});
        waitUntil([this] { return controller().table().count() == 3; }, 4000);
    };
    go();
    EXPECT_TRUE(waitForEnd());
    EXPECT_TRUE(waitUntil([this] { return controller().table().count() == 3; }));
    EXPECT_EQ(contentOf(path("home/Movies/Quorvantel/one.jpg")), "an older sheet");
}
