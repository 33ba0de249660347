#include "updater/updater.h"

#include "common/folder_test.h"
#include "common/log_capture.h"
#include "common/scripted_presenter.h"
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "process/tool_environment.h"
#include "support/localized_strings.h"
#include "web_server/certificates.h"
#include "web_server/web_server.h"

#include "recording_update_face.h"
#include "small_application.h"

#include <QNetworkProxy>
#include <QProcess>

#include <gmock/gmock.h>

#include <future>

using namespace qv;
using testing::HasSubstr;

namespace
{

QByteArray record(const QByteArray &name, const QByteArray &value)
{
    return "<key>" + name + "</key><value>" + value + "</value>\n";
}

// Version 1.0 in a place of its own, and a site that offers version 2.0.
class UpdaterTest : public HomeTest
{
protected:
    enum class Tls { No, Yes };

    UpdaterTest() : m_texts(TestBundle::Ffmpeg::None)
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
        QDir().mkpath(path("tmp"));
        setTemporaryFolder(path("tmp"));
        m_signed = makeKey();
        open(Tls::No);
    }
    ~UpdaterTest() override
    {
        m_updater.reset();
        setTemporaryFolder({});
    }

    QString running() const { return path("place/Quorvantel.app"); }

    QByteArray makeKey() { return sign({"new-key", path("key")}).section('=', 1).toUtf8(); }
    QString sign(const QStringList &arguments) const
    {
        QProcess script;
        script.start(QStringLiteral(QV_SIGN_UPDATE), arguments);
        EXPECT_TRUE(script.waitForFinished());
        return QString::fromUtf8(script.readAllStandardOutput()).trimmed();
    }

    // The application at its place, for a server with or without TLS and a build with that key.
    void open(Tls tls, const QByteArray &key = "ours")
    {
        m_updater.reset();
        m_server = tls == Tls::Yes ? std::make_unique<WebServer>(
                                         Certificates::shared().server(Certificates::Server::Good))
                                   : std::make_unique<WebServer>();
        const QString address = m_server->address("/").toString();
        SmallApplication{.version = "1.0",
                         .info = {{"QVUpdateAddress", address},
                                  {"QVUpdatePublicKey", key == "ours" ? m_signed : key}}}
            .write(running());
        Updater::Parts parts{m_preferences, m_face};
        parts.bundle = Bundle(running());
        parts.systemVersion = 6.01F;
        parts.limits = {.connecting = 2000, .silence = 2000, .pause = 1};
        parts.moves = m_moves;
        parts.packageOwner = [this](const auto &...) { return m_owner; };
        parts.relaunch = [this](const QString &bundle, const QString &executable) {
            m_relaunched = bundle + " " + executable;
            return true;
        };
        m_updater = std::make_unique<Updater>(std::move(parts));
        m_server->setRoute("/ky/isConnected.htm", {.body = "yes"});
    }

    // Packs what stands in the folder and offers it.
    void offer(const QString &name = "Quorvantel-2.0.zip", const QByteArray &version = "2.0")
    {
        const QString archive = path("site/" + name);
        QFile::remove(archive);
        QProcess zip;
        zip.setWorkingDirectory(path("new"));
        zip.start("zip", {"-qry", archive, "."});
        ASSERT_TRUE(zip.waitForFinished() && zip.exitCode() == 0);
        m_archive = {.file = archive, .etag = "\"1\""};
        m_server->setRoute("/dlCenter/" + name, m_archive);
        m_name = name;
        answer(record("version", version) + record("systemVersionMin", "4.05") +
               record("dlPath", name.toUtf8()) + sign({"sign", path("key"), archive}).toUtf8());
    }
    void offerApplication(const SmallApplication &application = {})
    {
        QDir(path("new")).removeRecursively();
        QDir().mkpath(path("site"));
        application.write(path("new/Quorvantel.app"));
        offer();
    }
    // The two pages that the one path gives.
    void answer(const QByteArray &reply)
    {
        m_server->setFinder([reply](const WebRequest &request) -> std::optional<Route> {
            if (request.path != "/dlCenter/update.php") {
                return {};
            }
            const bool asksForNotes = request.query.endsWith("&h");
            return Route{.body = asksForNotes ? QByteArray("<p>new</p>") : reply,
                         .contentType = "text/html; charset=utf-8"};
        });
    }

    void check(Updater::Sender sender = Updater::Sender::MenuItem)
    {
        m_updater->iba_checkForUpdates(sender);
        EXPECT_TRUE(waitUntil([this] { return !m_updater->isChecking(); }));
    }
    // Checks, downloads and waits for whatever comes of it.
    void download()
    {
        check();
        ASSERT_TRUE(m_face.isVisible);
        m_updater->iba_dl(Updater::downloadSegment);
        waitForEnd();
    }
    void waitForEnd()
    {
        EXPECT_TRUE(waitUntil(
            [this] { return m_face.hasEnded || m_updater->phase() == UpdatePhase::Offered; }));
    }
    QString shownAlert() const
    {
        return m_alerts.shown.isEmpty() ? QString()
                                        : Alert::shownText(m_alerts.shown.last().title + " | " +
                                                           m_alerts.shown.last().detail);
    }
    QString versionThere() const { return Bundle(running()).version(); }

    const TestBundle m_texts;
    PreferencesStore m_preferences;
    RecordingUpdateFace m_face;
    DiskMoves m_moves = DiskMoves::real();
    ScriptedPresenter m_alerts;
    LogCapture m_log;
    QByteArray m_signed;
    tl::expected<QString, QString> m_owner;
    QString m_relaunched;
    QString m_name;
    Route m_archive;
    std::unique_ptr<WebServer> m_server;
    std::unique_ptr<Updater> m_updater;
};

} // namespace

// ---- the check

TEST_F(UpdaterTest, AsksByItselfOnlyWhenTheUserWishes)
{
    offerApplication();
    for (const QVariant &wish : {QVariant(0), QVariant("no"), QVariant()}) {
        m_preferences.prefWrite("update", wish);
        m_updater->iba_checkForUpdates(Updater::Sender::Nobody);
        EXPECT_FALSE(m_updater->isChecking());
    }
    m_preferences.prefWrite("update", 1);
    check(Updater::Sender::Nobody);
    EXPECT_EQ(m_face.timesShown, 1);
    EXPECT_EQ(m_face.othersClosed, 1);
}

TEST_F(UpdaterTest, OffersTheNewerVersionWithItsNotes)
{
    offerApplication();
    check();
    EXPECT_TRUE(m_face.isVisible);
    EXPECT_EQ(m_face.offer.version, "2.0");
    EXPECT_EQ(m_face.offer.address, m_server->address("/dlCenter/Quorvantel-2.0.zip").toString());
    EXPECT_TRUE(m_face.offer.refusal.isNull()) << qPrintable(m_face.offer.refusal);
    EXPECT_EQ(m_face.statuses, QStringList{QString()});
    ASSERT_TRUE(waitUntil([this] { return m_face.notes.has_value(); }));
    EXPECT_EQ(m_face.notes->value().text(), "<p>new</p>");
    QStringList queries;
    for (const WebRequest &request : m_server->requests()) {
        queries << request.path + '?' + request.query;
    }
    EXPECT_EQ(queries,
              (QStringList{"/ky/isConnected.htm?", "/dlCenter/update.php?s=ky&l=en&os=6.010000",
                           "/dlCenter/update.php?s=ky&l=en&h"}));
    m_updater->iba_dl(Updater::closeSegment);
    EXPECT_FALSE(m_face.isVisible);
    EXPECT_EQ(m_server->countOf("/dlCenter/Quorvantel-2.0.zip"), 0);
}

TEST_F(UpdaterTest, OnlyWhoAsksIsToldThatThereIsNothing)
{
    const QByteArray here = "yes";
    const struct {
        const char *what;
        QByteArray connected;
        QByteArray reply;
        const char *alert;
        bool notice;
    } cases[] = {
        {"out of reach", "", "",
         "Failure | \nThe update server can't be reached. \n\nCheck the internet "
         "connection, then try again.",
         false},
        {"the same version", here, record("version", "1.0"), ":-) | Version 1.0 is the newest one.",
         false},
        {"too old a system", here, record("version", "2.0") + record("systemVersionMin", "7"),
         ":-) | Version 1.0 is the newest one.", false},
        {"no reply", here, "<html>404</html>", "", true},
    };
    m_preferences.prefWrite("update", 1);
    for (const auto &c : cases) {
        for (const auto sender : {Updater::Sender::Nobody, Updater::Sender::MenuItem}) {
            const bool asked = sender == Updater::Sender::MenuItem;
            m_alerts.shown.clear();
            m_face.notice.clear();
            m_server->setRoute("/ky/isConnected.htm", {.body = c.connected});
            answer(c.reply);
            check(sender);
            EXPECT_EQ(shownAlert(), asked ? c.alert : "") << c.what;
            EXPECT_EQ(!m_face.notice.isEmpty(), asked && c.notice) << c.what;
            EXPECT_EQ(m_server->countOf("/dlCenter/update.php") > 0, c.connected == here);
        }
    }
    EXPECT_EQ(m_face.timesShown, 0);
}

TEST_F(UpdaterTest, ACheckThatIsAskedForMeanwhileIsAnswered)
{
    m_preferences.prefWrite("update", 1);
    answer(record("version", "1.0"));
    m_updater->iba_checkForUpdates(Updater::Sender::Nobody);
    m_updater->iba_checkForUpdates(Updater::Sender::MenuItem);
    m_updater->iba_checkForUpdates(Updater::Sender::Nobody);
    EXPECT_TRUE(waitUntil([this] { return !m_updater->isChecking(); }));
    EXPECT_EQ(m_alerts.countOf(":-)"), 1);
    EXPECT_EQ(m_server->countOf("/dlCenter/update.php"), 1);
}

// ---- what may be installed

TEST_F(UpdaterTest, WhatCannotBeTrustedIsOfferedWithoutADownload)
{
    offerApplication();
    open(Tls::No, "");
    offerApplication();
    check();
    EXPECT_FALSE(m_face.offer.refusal.isNull());
    EXPECT_EQ(m_face.statuses.last(), m_face.offer.refusal);
    m_updater->iba_dl(Updater::downloadSegment);
    EXPECT_EQ(m_updater->phase(), UpdatePhase::Offered);
}

TEST_F(UpdaterTest, WhatThePackageManagerOwnsIsLeftToIt)
{
    offerApplication();
    m_owner = "quorvantel";
    check();
    EXPECT_THAT(m_face.statuses.last().toStdString(), HasSubstr("package quorvantel"));
    m_updater->iba_dl(Updater::downloadSegment);
    EXPECT_EQ(m_updater->phase(), UpdatePhase::Offered);
    m_owner = tl::make_unexpected(QString("no answer"));
    check();
    EXPECT_EQ(m_face.offer.refusal, "no answer");
    // What goes into the user's own folder may come.
    writeFile(path("new/tool"), "#!/bin/sh\n");
    offer("tool.zip");
    check();
    EXPECT_TRUE(m_face.offer.refusal.isNull());
}

// ---- the whole road

TEST_F(UpdaterTest, InstallsTheNewVersionAndStartsIt)
{
    offerApplication();
    download();
    EXPECT_TRUE(m_face.hasEnded) << qPrintable(shownAlert());
    EXPECT_EQ(versionThere(), "2.0");
    EXPECT_EQ(m_relaunched, running() + " Quorvantel");
    EXPECT_FALSE(m_face.isVisible);
    EXPECT_EQ(Bundle(path("home/.local/share/Trash/files/Quorvantel.app")).version(), "1.0");
    EXPECT_FALSE(QFileInfo::exists(path("tmp/dl")));
    EXPECT_TRUE(m_alerts.shown.isEmpty());
    EXPECT_TRUE(m_face.statuses.contains("Download done, installing…"));
}

TEST_F(UpdaterTest, TrustsHttpsFromItsOwnSiteWithoutAKey)
{
    Certificates::shared().trust();
    open(Tls::Yes, "");
    offerApplication();
    download();
    EXPECT_TRUE(m_face.hasEnded) << qPrintable(shownAlert());
    EXPECT_EQ(versionThere(), "2.0");
}

TEST_F(UpdaterTest, AnAddOnGoesIntoTheSupportFolderBesideTheEventLoop)
{
    QDir().mkpath(path("site"));
    writeFile(path("new/tool"), "#!/bin/sh\n");
    m_preferences.prefWrite("update", 1);
    std::promise<void> mayMove;
    m_moves.rename = [gate = mayMove.get_future().share(),
                      move = DiskMoves::real().rename](const auto &from, const auto &to) {
        gate.wait();
        return move(from, to);
    };
    open(Tls::No);
    offer("tool.zip");
    check();
    m_updater->iba_dl(Updater::downloadSegment);
    EXPECT_TRUE(waitUntil([this] { return m_face.phase == UpdatePhase::Placing; }));
    m_updater->iba_dl(Updater::closeSegment); // closes the sheet; what is moved comes to its end
    EXPECT_EQ(m_updater->phase(), UpdatePhase::Placing);
    mayMove.set_value();
    waitForEnd();
    const QString installed = path("home/Library/Application Support/Quorvantel/tool");
    EXPECT_TRUE(QFileInfo(installed).isExecutable());
    EXPECT_EQ(m_face.notice, "tool is installed.");
    EXPECT_FALSE(m_face.hasEnded);
    EXPECT_TRUE(m_alerts.shown.isEmpty());
    EXPECT_TRUE(waitUntil([this] { return m_face.timesShown == 2; }))
        << "the version is still to come";
}

// ---- what goes wrong

TEST_F(UpdaterTest, ABrokenOrForeignArchiveInstallsNothing)
{
    const struct {
        const char *what;
        std::function<void()> spoil; // what was offered
        const char *reason;
    } cases[] = {
        {"changed after it was signed",
         [&] {
             QByteArray bytes = contentOf(m_archive.file);
             bytes[bytes.size() / 2] ^= 1;
             writeFile(m_archive.file, bytes);
         },
         "signature"},
        {"not signed",
         [&] { answer(record("version", "2.0") + record("dlPath", m_name.toUtf8())); },
         "not signed"},
        {"no archive",
         [&] {
             writeFile(m_archive.file, "no zip");
             answer(record("version", "2.0") + record("dlPath", m_name.toUtf8()) +
                    sign({"sign", path("key"), m_archive.file}).toUtf8());
         },
         "zip"},
        {"a link that leads out",
         [&] {
             QFile::link("/etc/passwd", path("new/Quorvantel.app/out"));
             offer();
         },
         "leads out"},
        {"no application in it",
         [&] {
             QDir(path("new")).rename("Quorvantel.app", "Quorvantel");
             offer();
         },
         "no application"},
        {"it does not start", [&] { offerApplication({.program = "exit 1\n"}); }, "does not start"},
    };
    for (const auto &c : cases) {
        offerApplication();
        c.spoil();
        download();
        EXPECT_THAT(shownAlert().toStdString(), HasSubstr(c.reason)) << c.what;
        EXPECT_TRUE(shownAlert().startsWith(":-( | The update was not installed.")) << c.what;
        EXPECT_EQ(versionThere(), "1.0") << c.what;
        EXPECT_FALSE(m_face.hasEnded || m_face.isVisible) << c.what;
        EXPECT_FALSE(QFileInfo::exists(path("tmp/dl"))) << c.what;
    }
    EXPECT_TRUE(m_relaunched.isNull());
}

TEST_F(UpdaterTest, AFailedDownloadIsToldAndTheNextOneGoesOn)
{
    offerApplication();
    Route broken = m_archive;
    broken.cutAfter = 300;
    broken.cuts = 1000;
    m_server->setRoute("/dlCenter/" + m_name, broken);
    download();
    EXPECT_TRUE(shownAlert().startsWith(":-( | The download failed. Nothing was changed."));
    EXPECT_TRUE(m_face.statuses.contains("The download failed. Nothing was changed."));
    EXPECT_FALSE(m_face.isVisible);
    EXPECT_EQ(versionThere(), "1.0");

    m_server->setRoute("/dlCenter/" + m_name, m_archive);
    const int before = static_cast<int>(m_server->requests().size());
    download();
    EXPECT_TRUE(m_face.hasEnded);
    const QList<WebRequest> requests = m_server->requests().mid(before);
    EXPECT_TRUE(std::any_of(requests.begin(), requests.end(), [](const WebRequest &request) {
        return request.headers.contains("range");
    }));
}

TEST_F(UpdaterTest, ACancelledDownloadLeavesTheSheetAndGoesOnLater)
{
    offerApplication();
    Route slow = m_archive;
    slow.bytesPerSecond = 2000;
    m_server->setRoute("/dlCenter/" + m_name, slow);
    m_face.onProgress = [this](qint64 received) {
        if (received > 0) {
            m_updater->cancel();
        }
    };
    download();
    EXPECT_EQ(m_face.statuses.last(), "Cancelled. Nothing was changed.");
    EXPECT_TRUE(m_face.isVisible);
    EXPECT_TRUE(m_alerts.shown.isEmpty());

    m_face.onProgress = nullptr;
    m_server->setRoute("/dlCenter/" + m_name, m_archive);
    m_updater->iba_dl(Updater::downloadSegment);
    waitForEnd();
    EXPECT_EQ(versionThere(), "2.0");
    EXPECT_TRUE(m_server->requests().last().headers.contains("range"));
}

TEST_F(UpdaterTest, WorkInProgressMayKeepTheNewVersionWaiting)
{
    offerApplication();
    m_face.mayEnd = false;
    download();
    EXPECT_FALSE(m_face.hasEnded);
    EXPECT_EQ(versionThere(), "1.0");
    EXPECT_TRUE(m_face.isVisible);
    m_face.mayEnd = true;
    m_updater->iba_dl(Updater::downloadSegment);
    waitForEnd();
    EXPECT_EQ(versionThere(), "2.0");
}

TEST_F(UpdaterTest, MayEndAtAnyMoment)
{
    offerApplication();
    for (const int moment : {0, 1, 2, 3}) {
        open(Tls::No);
        offerApplication();
        if (moment > 0) {
            m_updater->iba_checkForUpdates(Updater::Sender::MenuItem);
        }
        if (moment > 1) {
            EXPECT_TRUE(waitUntil([this] { return !m_updater->isChecking(); }));
            m_updater->iba_dl(Updater::downloadSegment);
        }
        if (moment > 2) {
            EXPECT_TRUE(waitUntil([this] { return m_updater->phase() == UpdatePhase::Checking; }));
        }
        m_updater.reset();
        EXPECT_EQ(versionThere(), "1.0");
    }
}
