#pragma once

#include "process/tool_environment.h"
#include "settings/preferences_store.h"
#include "support/bundle.h"
#include "support/off_thread.h"
#include "updater/archive/application_archive.h"
#include "updater/install/application_install.h"
#include "updater/install/package_owner.h"
#include "updater/update_face.h"
#include "updater/update_service.h"
#include "updater/web/web_utils.h"

#include <QObject>
#include <QVariantMap>

#include <atomic>
#include <functional>
#include <optional>

// Looks for a newer version, downloads it and installs it in place of the running one; installs
// add-ons by the same road. Everything happens on the event loop; what takes longer than a moment
// happens beside it, and its end comes through the loop.
namespace qv
{

class Updater : public QObject
{
    Q_OBJECT

public:
    // What it works on and with; a test hands in its own.
    struct Parts {
        PreferencesStore &preferences;
        UpdateFace &face;
        Bundle bundle = Bundle::main();
        float systemVersion = qv::systemVersion();
        QString scratchRoot = temporaryRoot(); // where archives are downloaded and unpacked
        WebLimits limits = {};
        DiskMoves moves = DiskMoves::real();
        std::function<tl::expected<QString, QString>(const QString &path,
                                                     const std::atomic<bool> &isCancelled)>
            packageOwner = qv::packageOwner;
        std::function<bool(const QString &bundle, const QString &executable)> relaunch =
            relaunchLater;
    };
    explicit Updater(Parts parts, QObject *parent = nullptr);
    ~Updater() override;

    // Nobody: the check by itself, at the start and after the preferences, which happens only when
    // the user wishes it, and says nothing when there is nothing new.
    enum class Sender { Nobody, MenuItem };
    void iba_checkForUpdates(Sender sender);

    // The sheet's control; without one, the download by itself.
    static constexpr int closeSegment = 0;
    static constexpr int downloadSegment = 1;
    void iba_dl(std::optional<int> segment);
    // Ends a download, or the checks of what was downloaded; what has come is kept for the next
    // try.
    void cancel();

    bool isChecking() const { return m_isChecking; }
    UpdatePhase phase() const { return m_phase; }

private:
    bool wantsChecks() const;

    // ---- the check
    void connexionTested(const tl::expected<void, QString> &connected);
    void replyCame(const tl::expected<WebPage, QString> &page);
    void offer(const QVariantMap &reply);
    QString offerRefusal(const QVariantMap &reply);
    void ownerCame();
    void showOffer();
    void loadReleaseNotes();
    void tellUpToDate();
    void checkEnded() { m_isChecking = false; }

    // ---- the download, and what becomes of it
    void startDownload();
    void downloadEnded(const tl::expected<webUtils::DownloadedFile, QString> &done);
    void openDownload(const webUtils::DownloadedFile &file);
    void downloadOpened();
    void installAddOnItem();
    void addOnInstalled();
    void installNewVersion();
    void newVersionInstalled();
    void tellWhereBothAre(const Installation &done);
    void failed(const QString &text, const QString &reason);
    void cancelled();
    void cleanUp();
    void setPhase(UpdatePhase phase);

    QString executable() const;
    QString runningVersion() const { return m_parts.bundle.version(); }
    void report(const QString &title, const QString &detail);

    Parts m_parts;
    UpdateService m_service;
    webUtils m_web;
    OffThread m_work;
    OffThread m_ownerQuery;
    Sender m_sender = Sender::Nobody;
    bool m_isChecking = false;
    UpdatePhase m_phase = UpdatePhase::Offered;
    // An update as it is offered, and the manifest that was signed for it.
    struct Candidate {
        UpdateOffer offer;
        SignedManifest manifest;
    };
    Candidate m_shown; // in the sheet
    Candidate m_next;  // of the check in progress
    // Of the download. Not below temporaryFolder(), where confined tools may write: what is in here
    // is run and installed.
    std::unique_ptr<StagingFolder> m_folder;
    std::atomic<bool> m_isCancelled = false;
    std::atomic<bool> m_isEnding = false;
    tl::expected<QString, QString> m_opened; // the item to install
    Installation m_installation;
    tl::expected<QString, QString> m_owner;
};

} // namespace qv
