#include "updater/install/application_install.h"

#include "process/tool_environment.h"
#include "support/files.h"
#include "support/log.h"
#include "support/shell_word.h"
#include "updater/install/add_on_versions.h"
#include "updater/update_reply.h"

#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

namespace qv
{
namespace
{

const QString desktopFolder = QStringLiteral("~/Desktop");

void logTrash(bool isTrashed)
{
    logLine(QStringLiteral("moveToTrash         ? %1").arg(isTrashed ? 1 : 0));
}

Installation inPlace(const QString &application, const QString &place, const DiskMoves &moves)
{
    const Replacement done = replaceItem(application, place, moves);
    logTrash(done.isTrashed);
    return {done.error, place, done.oldAt, done.isTrashed, false};
}

// The change of places happens in the folder above, which needs rights of its own.
bool isReplaceable(const QString &application)
{
    return droitsAcces(application) &&
           !StagingFolder(QFileInfo(application).path()).path().isEmpty();
}

// Null unless the bundle there is the same application, and not older.
QString rollbackRefusal(const Bundle &application, const Bundle &there)
{
    const bool isOlder = there.identifier() != application.identifier() ||
                         isNewerVersion(application.version(), there.version());
    return isOlder
               ? QString()
               : QStringLiteral("version %1 is already at %2").arg(there.version(), there.path());
}

Installation onDesktop(const QString &application, const QString &running,
                       const QString &archiveName, const DiskMoves &moves)
{
    const QString place = expandTilde(appendPath(desktopFolder, archiveName));
    if (const QString reason = rollbackRefusal(Bundle(application), Bundle(place));
        !reason.isNull()) {
        return {reason, place, {}, false, true};
    }
    mkdir(QFileInfo(place).path());
    const Replacement done = replaceItem(application, place, moves);
    Installation result{done.error, place, {}, false, true};
    if (done.error.isNull()) {
        result.oldAt = moves.trash(running);
        result.isOldTrashed = !result.oldAt.isNull();
        logTrash(result.isOldTrashed);
    }
    return result;
}

} // namespace

Installation installApplication(const QString &application, const QString &runningPath,
                                const QString &archiveName, const DiskMoves &moves)
{
    return isReplaceable(runningPath) ? inPlace(application, runningPath, moves)
                                      : onDesktop(application, runningPath, archiveName, moves);
}

QString installAddOn(const QString &item, const QString &version, const Bundle &bundle,
                     const DiskMoves &moves)
{
    const QString name = lastPathComponent(item);
    if (const QString reason = addOnRefusal(name, version, bundle); !reason.isNull()) {
        return reason;
    }
    const QString folder = addOnFolder(bundle);
    mkdir(folder);
    droitsAcces(folder);
    // The version is recorded first: a kill in between must not leave the way open for an older
    // one.
    const AddOnVersions versions(bundle);
    const QString before = versions.of(name).value_or(QString());
    if (const QString reason = versions.set(name, version); !reason.isNull()) {
        return reason;
    }
    const Replacement done = replaceItem(item, appendPath(folder, name), moves);
    if (!done.error.isNull()) {
        versions.set(name, before);
    }
    return done.error;
}

void clearLeftUpdates(const Bundle &bundle)
{
    for (const QString &folder : {QFileInfo(bundle.path()).path(), temporaryRoot(),
                                  addOnFolder(bundle), expandTilde(desktopFolder)}) {
        clearStagingFolders(folder);
    }
}

QString relaunchCommand(const QString &bundlePath, const QString &executable)
{
    const QString program = QStringLiteral("%1/Contents/MacOS/%2").arg(bundlePath, executable);
    return QStringLiteral("/bin/sleep 10 && exec %1").arg(shellWord(program));
}

bool relaunchLater(const QString &bundlePath, const QString &executable)
{
    QProcess shell;
    shell.setProgram(QStringLiteral("/bin/sh"));
    shell.setArguments({QStringLiteral("-c"), relaunchCommand(bundlePath, executable)});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_CTYPE"), QStringLiteral("en_US.UTF-8"));
    shell.setProcessEnvironment(environment);
    shell.setWorkingDirectory(QStringLiteral("/"));
    shell.setStandardOutputFile(QProcess::nullDevice());
    shell.setStandardErrorFile(QProcess::nullDevice());
    const bool started = shell.startDetached();
    logLine(QStringLiteral("relaunch            :-%1 %2")
                .arg(QLatin1String(started ? ")" : "("), bundlePath));
    return started;
}

} // namespace qv
