#include "updater/updater.h"

#include "process/tool_environment.h"
#include "settings/value_description.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"
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
    const QString dlPath = stringIn(reply, QStringLiteral("dlPath"));
    m_offer = {stringIn(reply, QStringLiteral("version")), m_service.downloadAddress(dlPath),
               m_service.refusal(dlPath)};
    m_signature = stringIn(reply, QStringLiteral("signature"));
    if (m_offer.refusal.isNull() && archiveName(m_offer.address).isNull()) {
        m_offer.refusal = QStringLiteral("the address of the download names no file");
    }
    if (!isApplicationAddress(m_offer.address)) {
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
        m_offer.refusal = refusal;
    }
    showOffer();
}

void Updater::showOffer()
{
    checkEnded();
    if (m_sender == Sender::Nobody && !m_parts.face.mayOfferUnasked()) {
        return;
    }
    UpdateFace &face = m_parts.face;
    face.closeOtherSheets();
    face.setUpdateStatus({});
    face.bringMainWindowBack();
    face.showUpdateSheet(m_offer);
    if (!m_offer.refusal.isNull()) {
        logLine(QStringLiteral("update              :-( ") + m_offer.refusal);
        face.setUpdateStatus(face.words(m_offer.refusal));
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
    if (m_phase != UpdatePhase::Offered || m_offer.address.isEmpty() || !m_offer.refusal.isNull()) {
        return;
    }
    startDownload();
}

QString Updater::executable() const
{
    return m_parts.bundle.infoValue(QStringLiteral("CFBundleExecutable")).toString();
}

QString Updater::downloadFolder() const
{
    return appendPath(temporaryFolder(), QStringLiteral("dl"));
}

// Beside the download folder, which goes after every try.
QString Updater::keptFolder() const
{
    return appendPath(temporaryFolder(), QStringLiteral("dl.part"));
}

QString Updater::archivePath() const
{
    return appendPath(downloadFolder(), archiveName(m_offer.address));
}

void Updater::startDownload()
{
    m_isCancelled = false;
    setPhase(UpdatePhase::Downloading);
    m_parts.face.setUpdateStatus(localized(QStringLiteral("updateDownloading")));
    rmCocoa(downloadFolder());
    mkdir(downloadFolder());
    m_web.downloadURL({QUrl(m_offer.address), archivePath(), keptFolder()},
                      [this](const tl::expected<void, QString> &done) { downloadEnded(done); });
}

void Updater::downloadEnded(const tl::expected<void, QString> &done)
{
    if (done) {
        openDownload();
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
    rmCocoa(downloadFolder());
    setPhase(UpdatePhase::Offered);
    m_parts.face.setUpdateStatus(localized(QStringLiteral("updateCancelled")));
}

// ---- what was downloaded

void Updater::openDownload()
{
    setPhase(UpdatePhase::Checking);
    m_parts.face.setUpdateStatus(localized(QStringLiteral("dlNInstallPostStr")));
    ArchiveProof proof;
    if (m_service.wantsSignature()) {
        proof = {m_service.publicKey().value_or(QByteArray()), m_signature};
    }
    m_work.run(
        [this, proof, archive = archivePath(), folder = downloadFolder(),
         isApplication = isApplicationAddress(m_offer.address), running = m_parts.bundle] {
            if (const auto opened = openArchive(archive, proof, m_isCancelled); !opened) {
                m_opened = tl::make_unexpected(opened.error());
            } else {
                m_opened = isApplication ? unpackedApplication(folder, running, m_isCancelled)
                                         : unpackedAddOn(archive);
            }
        },
        [this] { downloadOpened(); });
}

void Updater::downloadOpened()
{
    if (m_isCancelled) {
        cancelled();
    } else if (!m_opened) {
        failed(localized(QStringLiteral("updateNotInstalled")), m_opened.error());
    } else if (isApplicationAddress(m_offer.address)) {
        installNewVersion();
    } else {
        installAddOnItem();
    }
}

void Updater::installAddOnItem()
{
    setPhase(UpdatePhase::Placing);
    m_work.run([this, item = *m_opened, name = m_parts.bundle.name(),
                moves = m_parts.moves] { m_installation.error = installAddOn(item, name, moves); },
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
         name = lastPathComponent(m_offer.address), moves = m_parts.moves] {
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
    rmCocoa(downloadFolder());
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
    logLine(QStringLiteral("dl                  :-( %1: %2").arg(m_offer.address, reason));
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
    rmCocoa(downloadFolder());
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
