#pragma once

#include "updater/web/web_utils.h"

#include <QString>

// What the updater shows and asks. The window implements it, and tests have a recording one; the
// updater knows no widget.
namespace qv
{

// A newer version that is offered.
struct UpdateOffer {
    QString version;
    QString address; // of its archive
    QString refusal; // why it can't be installed from here, for people; null when it can
};

enum class UpdatePhase {
    Offered,     // waits for the user
    Downloading, // may be cancelled
    Checking,    // the archive is checked and unpacked; may be cancelled
    Placing,     // an add-on is moved to its place; must come to its end
    Installing,  // the new version is; must come to its end, and ends the application
};

class UpdateFace
{
public:
    virtual ~UpdateFace() = default;

    // Back from the task bar, when it is there.
    virtual void bringMainWindowBack() = 0;
    virtual void closeOtherSheets() = 0;
    // Whether what nobody asked for may be offered now; when not, the face has it looked for again
    // at a better time.
    virtual bool mayOfferUnasked() { return true; }

    // The update sheet.
    virtual bool isUpdateSheetVisible() const = 0;
    virtual void showUpdateSheet(const UpdateOffer &offer) = 0;
    virtual void closeUpdateSheet() = 0;
    virtual void setUpdateStatus(const QString &status) = 0;
    virtual void setUpdatePhase(UpdatePhase phase) = 0;
    // Bytes; the whole is -1 when unknown.
    virtual void setUpdateProgress(qint64 received, qint64 total) = 0;
    // The page, or why it did not come.
    virtual void showReleaseNotes(const tl::expected<WebPage, QString> &page) = 0;

    // A short word that asks for nothing.
    virtual void updateNotice(const QString &text) = 0;
    // A reason of the engine in the user's language.
    virtual QString words(const QString &reason) const = 0;

    // Whether the application may end now for the sake of the new version; asks when work is in
    // progress.
    virtual bool mayEndForUpdate() = 0;
    // Ends the application; the new version starts later.
    virtual void endForUpdate() = 0;
};

} // namespace qv
