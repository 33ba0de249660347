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

#include "updater/archive/zip_bytes.h"
#include "updater/recording_update_face.h"
#include "updater/signing_key.h"
#include "updater/small_application.h"

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
        QDir().mkpath(path("tmp/Quorvantel"));
        setTemporaryFolder(path("tmp/Quorvantel"));
        open(Tls::No);
    }
    ~UpdaterTest() override
    {
        m_updater.reset();
        setTemporaryFolder({});
    }

    QString running() const { return path("place/Quorvantel.app"); }

    // The application at its place, for a server with or without TLS and a build with that key.
    void open(Tls tls, const QByteArray &key = "ours")
    {
        m_updater.reset();
        m_server = tls == Tls::Yes ? std::make_unique<WebServer>(
                                         Certificates::shared().server(Certificates::Server::Good))
                                   : std::make_unique<WebServer>();
        const QString address = m_server->address("/").toString();
        SmallApplication{
            .version = "1.0",
            .info = {{"QVUpdateAddress", address},
                     {"QVUpdatePublicKey", key == "ours" ? m_key.publicKey.toBase64() : key}}}
            .write(running());
        Updater::Parts parts{m_preferences, m_face};
        parts.bundle = Bundle(running());
        parts.systemVersion = 6.01F;
        parts.scratchRoot = path("tmp");
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

    // Packs what stands in the folder and offers it, signed.
    void offer(const QString &name = "Quorvantel-2.0.zip", const QByteArray &version = "2.0")
    {
        const QString archive = path("site/" + name);
        QDir().mkpath(path("site"));
        QFile::remove(archive);
        QProcess zip;
        zip.setWorkingDirectory(path("new"));
        zip.start("zip", {"-qry", archive, "."});
        ASSERT_TRUE(zip.waitForFinished() && zip.exitCode() == 0);
        m_archive = {.file = archive, .etag = "\"1\""};
        m_server->setRoute("/dlCenter/" + name, m_archive);
        m_name = name;
        m_manifest = manifestOf(archive, version);
        answer(version, m_key.sign(m_manifest.text()));
    }
    void offerApplication(const SmallApplication &application = {},
                          const QString &name = "Quorvantel-2.0.zip")
    {
        QDir(path("new")).removeRecursively();
        application.write(path("new/Quorvantel.app"));
        offer(name, application.version.toUtf8());
    }
    // The offered archive with another version or signature.
    void answer(const QByteArray &version, const QString &signature)
    {
        answer(record("version", version) + record("systemVersionMin", "4.05") +
               record("dlPath", m_name.toUtf8()) + record("signature", signature.toUtf8()));
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
    void waitForEnd()
    {
        EXPECT_TRUE(waitUntil(
            [this] { return m_face.hasEnded || m_updater->phase() == UpdatePhase::Offered; }));
    }
    // Why the offered update is not installed; null when it is.
    QString refusal()
    {
        m_face.hasEnded = false;
        m_alerts.shown.clear();
        check();
        if (m_face.offer.refusal.isNull()) {
            m_updater->iba_dl(Updater::downloadSegment);
            waitForEnd();
        }
        return m_face.offer.refusal.isNull() ? shownAlert() : m_face.offer.refusal;
    }
    QString shownAlert() const
    {
        return m_alerts.shown.isEmpty() ? QString()
                                        : Alert::shownText(m_alerts.shown.last().title + " | " +
                                                           m_alerts.shown.last().detail);
    }
    QStringList namesInTemporaryRoot() const
    {
        return QDir(path("tmp")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    QString versionThere() const { return Bundle(running()).version(); }

    const TestBundle m_texts;
    PreferencesStore m_preferences;
    RecordingUpdateFace m_face;
    DiskMoves m_moves = DiskMoves::real();
    ScriptedPresenter m_alerts;
    LogCapture m_log;
    SigningKey m_key;
    UpdateManifest m_manifest;
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
    EXPECT_EQ(refusal(), QString());
    EXPECT_TRUE(m_face.hasEnded);
    EXPECT_EQ(versionThere(), "2.0");
    EXPECT_EQ(m_relaunched, running() + " Quorvantel");
    EXPECT_FALSE(m_face.isVisible);
    EXPECT_EQ(Bundle(path("home/.local/share/Trash/files/Quorvantel.app")).version(), "1.0");
    EXPECT_EQ(namesInTemporaryRoot(), QStringList{"Quorvantel"});
    EXPECT_TRUE(m_face.statuses.contains("Download done, installing…"));
}

// Tools may write in the application's temporary folder.
TEST_F(UpdaterTest, RunsAndInstallsNothingThatAToolCouldAlter)
{
    offerApplication({.program = "echo \"$0\" >" + path("started").toUtf8() +
                                 "\necho \"Quorvantel $VERSION\"\n"});
    QString folder;
    m_face.onPhase = [&](UpdatePhase phase) {
        if (phase == UpdatePhase::Checking) {
            ASSERT_EQ(namesInTemporaryRoot().size(), 2);
            folder = path("tmp/" + namesInTemporaryRoot().first());
            EXPECT_TRUE(QDir(folder).isEmpty()) << "the archive has no name";
        }
    };
    EXPECT_EQ(refusal(), QString());
    EXPECT_TRUE(contentOf(path("started")).startsWith(folder.toUtf8() + "/Quorvantel.app/"));
    EXPECT_FALSE(folder.startsWith(temporaryFolder()));
}

TEST_F(UpdaterTest, WithoutAKeyOnlyItsOwnServerIsTrusted)
{
    Certificates::shared().trust();
    WebServer other(Certificates::shared().server(Certificates::Server::Good));
    for (const bool hasKey : {false, true}) {
        open(Tls::Yes, hasKey ? "ours" : "");
        offerApplication();
        const QString place = "/dlCenter/" + m_name;
        other.setRoute(place, m_archive);
        m_server->setRoute(place, {.status = 302, .location = other.address(place).toEncoded()});
        EXPECT_EQ(refusal().contains("without a key"), !hasKey) << qPrintable(shownAlert());
        EXPECT_EQ(versionThere(), hasKey ? "2.0" : "1.0");
        EXPECT_EQ(other.requests().isEmpty(), !hasKey);
    }
    open(Tls::Yes, "");
    offerApplication();
    EXPECT_EQ(refusal(), QString());
    EXPECT_EQ(versionThere(), "2.0");
}

TEST_F(UpdaterTest, AnOfferThatComesDuringADownloadChangesNothing)
{
    offerApplication();
    check();
    m_updater->iba_checkForUpdates(Updater::Sender::MenuItem);
    answer("3.0", "");
    m_updater->iba_dl(Updater::downloadSegment);
    waitForEnd();
    EXPECT_EQ(versionThere(), "2.0") << qPrintable(shownAlert());
    EXPECT_EQ(m_face.timesShown, 1);
}

TEST_F(UpdaterTest, AnAddOnGoesIntoTheSupportFolderBesideTheEventLoop)
{
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
    EXPECT_THAT(m_face.offer.refusal.toStdString(), HasSubstr("not newer than version 2.0"));
}

// ---- what goes wrong

TEST_F(UpdaterTest, ABrokenOrForeignArchiveInstallsNothing)
{
    using Spoil = std::function<void()>;
    const auto resign = [&] { answer("2.0", m_key.sign(m_manifest.text())); };
    const auto signedAs = [&](QString UpdateManifest::*field, const char *value) -> Spoil {
        return [=, this] {
            m_manifest.*field = value;
            resign();
        };
    };
    const auto archived = [&](const QByteArray &bytes) -> Spoil {
        return [=, this] {
            writeFile(m_archive.file, bytes);
            m_manifest = manifestOf(m_archive.file, "2.0");
            resign();
        };
    };
    const struct {
        Spoil spoil; // what was offered
        const char *reason;
        bool isDownloaded;
    } cases[] = {
        {[&] { answer("2.0", ""); }, "not signed", false},
        {[&] { answer("2.0", QByteArray(64, 'x').toBase64()); }, "old signature", false},
        {signedAs(&UpdateManifest::application, "org.other"), "application: org.other", false},
        {signedAs(&UpdateManifest::archive, "tool.zip"), "as the archive tool.zip", false},
        {signedAs(&UpdateManifest::version, "1.5"), "as version 1.5, but offered as", false},
        // Replayed under its own name, and in a newer version's place.
        {[&] {
             offerApplication({.version = "1.5"}, "Quorvantel-1.5.zip");
             resign();
         },
         "as version 1.5, but offered as version 2.0", false},
        {[&] {
             const QString newer = m_key.sign(m_manifest.text());
             offerApplication({.version = "1.5"});
             answer("2.0", newer);
         },
         "not the one that was signed", true},
        {[&] {
             offerApplication({.version = "1.5"});
             m_manifest.version = "2.0";
             resign();
         },
         "holds version 1.5, but version 2.0 was signed", true},
        {[&] { writeFile(m_archive.file, contentOf(m_archive.file).replace('P', 'Q')); },
         "not the one that was signed", true},
        {archived("no zip"), "zip", true},
        {archived(zipBytes({linkItem("Quorvantel.app/out", "/etc")})), "leads out", true},
        {archived(zipBytes({{"Quorvantel", "x"}})), "no application", true},
        {[&] { offerApplication({.program = "exit 1\n"}); }, "does not start", true},
        {[&] {
             m_archive.promise = 1 << 30;
             m_server->setRoute("/dlCenter/" + m_name, m_archive);
         },
         "The download failed. Nothing was changed.\n\nThe server at", true},
    };
    for (const auto &c : cases) {
        offerApplication();
        c.spoil();
        const int before = m_server->countOf("/dlCenter/" + m_name);
        EXPECT_THAT(refusal().toStdString(), HasSubstr(c.reason));
        EXPECT_EQ(m_server->countOf("/dlCenter/" + m_name) > before, c.isDownloaded) << c.reason;
        EXPECT_EQ(shownAlert().startsWith(":-( | The "), c.isDownloaded);
        EXPECT_EQ(versionThere(), "1.0") << c.reason;
        EXPECT_EQ(m_face.isVisible, !c.isDownloaded) << c.reason;
        EXPECT_EQ(namesInTemporaryRoot(), QStringList{"Quorvantel"}) << c.reason;
    }
    EXPECT_TRUE(m_relaunched.isNull());
}

TEST_F(UpdaterTest, WorkInProgressMayKeepTheNewVersionWaiting)
{
    offerApplication();
    m_face.mayEnd = false;
    refusal();
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
