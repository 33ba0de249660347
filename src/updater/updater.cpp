#include "updater/updater.h"

#include "process/child_process.h"
#include "settings/value_description.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"
#include "updater/install/add_on_versions.h"
#include "updater/update_reply.h"

#include <QPointer>

#include <utility>

namespace qv
{
namespace
{

constexpr int criticalStyle = 2;
constexpr qsizetype longestLogged = 4000; // characters of a reply
const QString failureTitle = QStringLiteral(":-(");

QString senderName(Updater::Sender sender)
{
    return sender == Updater::Sender::MenuItem ? QStringLiteral("menuUpdate")
                                               : QStringLiteral("nil");
}

// What no signature protects must come from the service itself.
WebLimits limitsFor(const UpdateService &service, WebLimits limits)
{
    limits.isBoundToServer = !service.publicKey();
    return limits;
}

// Null when the copy belongs to no package.
QString ownerRefusal(const tl::expected<QString, QString> &owner)
{
    if (!owner) {
        return owner.error();
    }
    return owner->isEmpty() ? QString()
                            : QStringLiteral("this copy belongs to the package %1 of the system: "
                                             "update it with the system's package manager")
                                  .arg(*owner);
}

// Reasons begin in lower case, because they follow a name elsewhere.
QString sentence(const QString &reason)
{
    return reason.left(1).toUpper() + reason.mid(1) + QLatin1Char('.');
}

} // namespace

Updater::Updater(Parts parts, QObject *parent)
    : QObject(parent), m_parts(std::move(parts)), m_service(m_parts.bundle),
      m_web(limitsFor(m_service, m_parts.limits))
{
    connect(&m_web, &webUtils::downloadProgressed, this, [this](qint64 received, qint64 total) {
        m_parts.face.setUpdateProgress(received, total);
    });
}

// What is being moved comes to its end before.
Updater::~Updater()
{
    m_isCancelled = true;
    m_isEnding = true;
    m_work.abandon();
    m_ownerQuery.abandon();
}

bool Updater::wantsChecks() const
{
    const QVariant wish = m_parts.preferences.prefRead(QStringLiteral("update"));
    return truncatedToInt(numberValue(wish).value_or(0)) != 0;
}

void Updater::report(const QString &title, const QString &detail)
{
    alertReport(title, detail, criticalStyle, AlertPlace::SheetOnWindow);
}

// ---- the check

void Updater::iba_checkForUpdates(Sender sender)
{
    logLine(QStringLiteral("sender              ? ") + senderName(sender));
    if (sender == Sender::Nobody && !wantsChecks()) {
        return;
    }
    if (m_phase != UpdatePhase::Offered) {
        return; // the sheet shows what is going on
    }
    // Asked for while one by itself is under way: its end is told.
    m_sender = m_isChecking && m_sender == Sender::MenuItem ? m_sender : sender;
    if (!std::exchange(m_isChecking, true)) {
        m_web.internetConnexionCheck(
            m_service.connexionTest(),
            [this](const tl::expected<void, QString> &connected) { connexionTested(connected); });
    }
}

void Updater::connexionTested(const tl::expected<void, QString> &connected)
{
    if (connected) {
        m_web.webpageLoad(m_service.versionQuery(updateLanguage(), m_parts.systemVersion),
                          [this](const tl::expected<WebPage, QString> &page) { replyCame(page); });
        return;
    }
    checkEnded();
    logLine(QStringLiteral("update              :-( ") + connected.error());
    if (m_sender == Sender::MenuItem) {
        report(localized(QStringLiteral("D_echec_1")),
               QStringLiteral("\n%1 \n\n%2")
                   .arg(localized(QStringLiteral("D_echec_2")),
                        localized(QStringLiteral("D_echec_2bis"))));
    }
    logLine(QStringLiteral("update              :-( web check KO"));
}

void Updater::replyCame(const tl::expected<WebPage, QString> &page)
{
    const QString text = page ? QString::fromUtf8(page->body) : QString();
    if (!page) {
        logLine(QStringLiteral("update              :-( ") + page.error());
    }
    logLine(QStringLiteral("srcWebpageStr       : ") + text.left(longestLogged));
    if (!isUpdateReply(text)) {
        checkEnded();
        logLine(QStringLiteral("update              :-( xml parse"));
        if (m_sender == Sender::MenuItem) {
            m_parts.face.updateNotice(localized(QStringLiteral("updateNoAnswer")));
        }
        return;
    }
    const QVariantMap reply = parseUpdateReply(text);
    logLine(QStringLiteral("update              ? md : ") + describeValue(reply));
    if (offersNewerVersion(reply, runningVersion(), m_parts.systemVersion)) {
        offer(reply);
    } else {
        tellUpToDate();
    }
}

void Updater::tellUpToDate()
{
    checkEnded();
    if (m_sender == Sender::MenuItem) {
        report(QStringLiteral(":-)"),
               localized(QStringLiteral("DL_upToDate")).arg(shownVersionNumber(runningVersion())));
    }
    logLine(QStringLiteral("update              :-) upToDate"));
}

void Updater::offer(const QVariantMap &reply)
{
    const QString version = stringIn(reply, QStringLiteral("version")).trimmed();
    const QString dlPath = stringIn(reply, QStringLiteral("dlPath"));
    m_next = {{version, m_service.downloadAddress(dlPath), {}}, {}};
    m_next.offer.refusal = offerRefusal(reply);
    if (!isApplicationAddress(m_next.offer.address)) {
        showOffer();
        return;
    }
    m_ownerQuery.run([this, program = m_parts.bundle.programPath(executable()),
                      ask = m_parts.packageOwner] { m_owner = ask(program, m_isEnding); },
                     [this] { ownerCame(); });
}

void Updater::ownerCame()
{
    if (const QString refusal = ownerRefusal(m_owner); !refusal.isNull()) {
        m_next.offer.refusal = refusal;
    }
    showOffer();
}

// Why the archive of the reply may not be installed, null when it may. Notes its manifest.
QString Updater::offerRefusal(const QVariantMap &reply)
{
    const UpdateOffer &offer = m_next.offer;
    const QString refusal = m_service.refusal(stringIn(reply, QStringLiteral("dlPath")));
    if (!refusal.isNull()) {
        return refusal;
    }
    const QString archive = archiveName(offer.address);
    if (archive.isNull()) {
        return QStringLiteral("the address of the download names no file");
    }
    if (const auto key = m_service.publicKey()) {
        const auto manifest = openManifest(stringIn(reply, QStringLiteral("signature")), *key);
        if (!manifest) {
            return manifest.error();
        }
        const QString mismatch =
            manifestRefusal(*manifest, {m_parts.bundle.identifier(), offer.version, archive});
        if (!mismatch.isNull()) {
            return mismatch;
        }
        m_next.manifest = *manifest;
    }
    return isApplicationAddress(offer.address)
               ? QString()
               : addOnRefusal(addOnName(archive), offer.version, m_parts.bundle);
}

void Updater::showOffer()
{
    checkEnded();
    if (m_phase != UpdatePhase::Offered) {
        return; // the download of an earlier offer has begun
    }
    if (m_sender == Sender::Nobody && !m_parts.face.mayOfferUnasked()) {
        return;
    }
    m_shown = m_next;
    UpdateFace &face = m_parts.face;
    face.closeOtherSheets();
    face.setUpdateStatus({});
    face.bringMainWindowBack();
    const UpdateOffer &offer = m_shown.offer;
    face.showUpdateSheet(offer);
    if (!offer.refusal.isNull()) {
        logLine(QStringLiteral("update              :-( ") + offer.refusal);
        face.setUpdateStatus(sentence(face.words(offer.refusal)));
    }
    loadReleaseNotes();
    logLine(QStringLiteral("up                  - post"));
}

void Updater::loadReleaseNotes()
{
    m_web.webpageLoad(m_service.releaseNotes(updateLanguage()),
                      [this](const tl::expected<WebPage, QString> &page) {
                          m_parts.face.showReleaseNotes(page);
                      });
}

// ---- the download

void Updater::iba_dl(std::optional<int> segment)
{
    UpdateFace &face = m_parts.face;
    face.bringMainWindowBack();
    if (segment == closeSegment && face.isUpdateSheetVisible()) {
        cancel();
        face.closeUpdateSheet();
        return;
    }
    const UpdateOffer &offer = m_shown.offer;
    if (m_phase != UpdatePhase::Offered || offer.address.isEmpty() || !offer.refusal.isNull()) {
        return;
    }
    startDownload();
}

QString Updater::executable() const
{
    return m_parts.bundle.infoValue(QStringLiteral("CFBundleExecutable")).toString();
}

void Updater::startDownload()
{
    m_isCancelled = false;
    setPhase(UpdatePhase::Downloading);
    m_parts.face.setUpdateStatus(localized(QStringLiteral("updateDownloading")));
    m_folder = std::make_unique<StagingFolder>(m_parts.scratchRoot);
    if (m_folder->path().isEmpty()) {
        failed(localized(QStringLiteral("dlNInstallFailure")),
               QStringLiteral("%1 can't be written").arg(m_parts.scratchRoot));
        return;
    }
    m_web.downloadURL({QUrl(m_shown.offer.address), m_folder->path()},
                      [this](const tl::expected<webUtils::DownloadedFile, QString> &done) {
                          downloadEnded(done);
                      });
}

void Updater::downloadEnded(const tl::expected<webUtils::DownloadedFile, QString> &done)
{
    if (done) {
        openDownload(*done);
    } else if (done.error() == webUtils::cancelledReason()) {
        cancelled();
    } else {
        failed(localized(QStringLiteral("dlNInstallFailure")), done.error());
    }
}

void Updater::cancel()
{
    if (m_phase == UpdatePhase::Downloading) {
        m_web.cancelDownload();
    } else if (m_phase == UpdatePhase::Checking) {
        m_isCancelled = true;
    }
}

// The sheet stays: the user may go on later.
void Updater::cancelled()
{
    logLine(QStringLiteral("dl                  - cancelled"));
    m_folder.reset();
    setPhase(UpdatePhase::Offered);
    m_parts.face.setUpdateStatus(localized(QStringLiteral("updateCancelled")));
}

// ---- what was downloaded

void Updater::openDownload(const webUtils::DownloadedFile &file)
{
    setPhase(UpdatePhase::Checking);
    m_parts.face.setUpdateStatus(localized(QStringLiteral("dlNInstallPostStr")));
    m_work.run(
        [this, file, candidate = m_shown, folder = m_folder->path(), running = m_parts.bundle] {
            const QString &address = candidate.offer.address;
            m_opened =
                openArchive(file->get(), candidate.manifest, folder, m_isCancelled).and_then([&] {
                    return isApplicationAddress(address)
                               ? unpackedApplication(folder, running, candidate.manifest,
                                                     m_isCancelled)
                               : unpackedAddOn(folder, archiveName(address));
                });
        },
        [this] { downloadOpened(); });
}

void Updater::downloadOpened()
{
    if (m_isCancelled) {
        cancelled();
    } else if (!m_opened) {
        failed(localized(QStringLiteral("updateNotInstalled")), m_opened.error());
    } else if (isApplicationAddress(m_shown.offer.address)) {
        installNewVersion();
    } else {
        installAddOnItem();
    }
}

void Updater::installAddOnItem()
{
    setPhase(UpdatePhase::Placing);
    m_work.run(
        [this, item = *m_opened, version = m_shown.offer.version, bundle = m_parts.bundle,
         moves = m_parts.moves] {
            m_installation.error = installAddOn(item, version, bundle, moves);
        },
        [this] { addOnInstalled(); });
}

void Updater::addOnInstalled()
{
    if (!m_installation.error.isNull()) {
        failed(localized(QStringLiteral("updateNotInstalled")), m_installation.error);
        return;
    }
    m_parts.face.updateNotice(
        localized(QStringLiteral("updateAddOnInstalled")).arg(lastPathComponent(*m_opened)));
    cleanUp();
}

void Updater::installNewVersion()
{
    const QPointer<Updater> self(this);
    const bool mayEnd = m_parts.face.mayEndForUpdate();
    if (!self) {
        return;
    }
    if (!mayEnd) {
        cancelled();
        return;
    }
    setPhase(UpdatePhase::Installing);
    m_work.run(
        [this, application = *m_opened, place = m_parts.bundle.path(),
         name = archiveName(m_shown.offer.address), moves = m_parts.moves] {
            m_installation = installApplication(application, place, name, moves);
        },
        [this] { newVersionInstalled(); });
}

void Updater::newVersionInstalled()
{
    const Installation done = m_installation;
    if (!done.error.isNull()) {
        const QString lies = done.oldAt.isNull()
                                 ? QString()
                                 : QStringLiteral("\n\n") +
                                       localized(QStringLiteral("updateOldLies")).arg(done.oldAt);
        failed(localized(QStringLiteral("updateNotInstalled")) + lies, done.error);
        return;
    }
    const QPointer<Updater> self(this);
    tellWhereBothAre(done);
    if (!self) {
        return;
    }
    m_parts.relaunch(m_parts.bundle.path(), executable());
    m_folder.reset();
    m_parts.face.closeUpdateSheet();
    m_parts.face.endForUpdate();
}

// Nothing needs to be told when the new version has the place of the old one, and that one is in
// the trash.
void Updater::tellWhereBothAre(const Installation &done)
{
    if (!done.isOnDesktop && done.isOldTrashed) {
        return;
    }
    const QString text =
        done.isOnDesktop ? QStringLiteral("updateOnDesktop") : QStringLiteral("updateOldKept");
    const QString old = done.oldAt.isNull() ? m_parts.bundle.path() : done.oldAt;
    alertReport(localized(QStringLiteral("updateInstalled")),
                localized(text).arg(done.installedAt, old), 0, AlertPlace::ApplicationModal);
}

// ---- the end of a try

void Updater::failed(const QString &text, const QString &reason)
{
    logLine(QStringLiteral("dl                  :-( %1: %2").arg(m_shown.offer.address, reason));
    m_parts.face.setUpdateStatus(text);
    m_parts.face.setUpdatePhase(UpdatePhase::Offered);
    // Answered before the sheet may come up again.
    const QPointer<Updater> self(this);
    alertReport(failureTitle, text + QStringLiteral("\n\n") + sentence(m_parts.face.words(reason)),
                criticalStyle, AlertPlace::ApplicationModal);
    if (self) {
        cleanUp();
    }
}

// A version that is still to come shows its sheet again, when the user wishes for checks.
void Updater::cleanUp()
{
    m_folder.reset();
    m_parts.face.closeUpdateSheet();
    setPhase(UpdatePhase::Offered);
    iba_checkForUpdates(Sender::Nobody);
}

void Updater::setPhase(UpdatePhase phase)
{
    m_phase = phase;
    m_parts.face.setUpdatePhase(phase);
}

} // namespace qv
