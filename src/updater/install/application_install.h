#pragma once

#include "support/bundle.h"
#include "updater/install/bundle_moves.h"

#include <QString>

// The new version takes the place of the running one.
namespace qv
{

struct Installation {
    QString error;       // for people; null when the new version is installed
    QString installedAt; // the running application's place, or one on the desktop
    QString oldAt;       // where the version that ran lies now; null when it was not moved
    bool isOldTrashed = false;
    bool isOnDesktop = false;
};

// Moves the new application to the running one's place, and that one to the trash. If the running
// one or its folder can't be written into, the new one goes to the desktop under its archive's
// name, where it replaces no application that is as new. Blocking; may run on any thread.
Installation installApplication(const QString &application, const QString &runningPath,
                                const QString &archiveName,
                                const DiskMoves &moves = DiskMoves::real());

// Moves the item under its own name into the bundle's support folder of the user, unless this or a
// newer version of the add-on is installed, and records the version. Null on success, or the reason
// for people. Blocking; may run on any thread.
QString installAddOn(const QString &item, const QString &version, const Bundle &bundle,
                     const DiskMoves &moves = DiskMoves::real());

// Deletes what killed updates of this bundle have left on the disk.
void clearLeftUpdates(const Bundle &bundle);

// The command line by which a shell starts the bundle's program ten seconds later.
QString relaunchCommand(const QString &bundlePath, const QString &executable);
// Starts that shell, which outlives this process. False when it can't be started.
bool relaunchLater(const QString &bundlePath, const QString &executable);

} // namespace qv
