#include "updater/archive/application_archive.h"

#include "support/files.h"
#include "updater/archive/zip_archive.h"
#include "updater/install/program_run.h"
#include "updater/update_reply.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <filesystem>

namespace qv
{
namespace
{

namespace fs = std::filesystem;

constexpr int longestName = 200; // bytes; leaves room for what is added to it
const QString ownName = QStringLiteral("quorvantel");
const QString executableKey = QStringLiteral("CFBundleExecutable");

auto refused(const QString &reason)
{
    return tl::make_unexpected(reason);
}

// Null on success.
QString makeExecutable(const QStringList &files)
{
    for (const QString &file : files) {
        std::error_code error;
        fs::permissions(QFile::encodeName(file).toStdString(),
                        fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                        fs::perm_options::add, error);
        if (error) {
            return QStringLiteral("%1 can't be made executable: %2")
                .arg(lastPathComponent(file), QString::fromStdString(error.message()));
        }
    }
    return {};
}

// A link would have the rights of something else changed.
QStringList plainFilesIn(const QString &folder)
{
    QStringList files;
    for (const QString &path : lsCocoa(folder)) {
        const QFileInfo info(path);
        if (info.isFile() && !info.isSymLink()) {
            files.append(path);
        }
    }
    return files;
}

QString versionRefusal(const Bundle &offered, const Bundle &running, const SignedManifest &manifest)
{
    if (offered.identifier() != running.identifier()) {
        return QStringLiteral("the archive holds another application");
    }
    if (manifest && offered.version() != manifest->version) {
        return QStringLiteral("the archive holds version %1, but version %2 was signed")
            .arg(offered.version(), manifest->version);
    }
    // Another version may have been installed since this one was started.
    for (const QString &version : {running.version(), Bundle(running.path()).version()}) {
        if (!isNewerVersion(offered.version(), version)) {
            return QStringLiteral("the archive holds version %1, which is not newer than %2")
                .arg(offered.version(), version);
        }
    }
    return {};
}

bool isEndedByOthers(const ToolOutcome &outcome)
{
    switch (outcome.signal) {
    case SIGKILL:
    case SIGTERM:
    case SIGINT:
    case SIGHUP:
    case SIGQUIT:
        return true;
    default:
        return outcome.ending == ToolOutcome::Ending::Stopped ||
               outcome.ending == ToolOutcome::Ending::Hung;
    }
}

// A version that can't be started here must not replace one that can: it was built for another
// machine, or lacks a library of a newer system. Null when it starts.
QString startRefusal(const QString &program, const Bundle &offered,
                     const std::atomic<bool> &isCancelled)
{
    const ToolReport trial = runProgram({program, QStringLiteral("--version")}, isCancelled);
    if (trial.outcome.error == EACCES) {
        // The volume is mounted without the right to execute.
        return QStringLiteral("the new version can't be tried, because programs in %1 may not be "
                              "executed")
            .arg(QFileInfo(QFileInfo(offered.path()).path()).path());
    }
    if (isEndedByOthers(trial.outcome)) {
        return QStringLiteral("the new version could not be tried: its trial start %1")
            .arg(programEndText(trial.outcome));
    }
    if (trial.outcome.ending != ToolOutcome::Ending::Exited || trial.outcome.exitCode != 0) {
        return QStringLiteral("the new version does not start on this system (%1)")
            .arg(programEndText(trial.outcome));
    }
    const QStringList words = QString::fromUtf8(trial.output).simplified().split(QLatin1Char(' '));
    return words.contains(offered.version())
               ? QString()
               : QStringLiteral("the program in the archive is not version %1")
                     .arg(offered.version());
}

} // namespace

tl::expected<void, QString> openArchive(int archive, const SignedManifest &manifest,
                                        const QString &folder, const std::atomic<bool> &isCancelled)
{
    if (manifest) {
        if (auto checked = checkArchive(archive, *manifest, isCancelled); !checked) {
            return checked;
        }
    }
    return SSZipArchive::unzipFile(archive, folder, isCancelled);
}

bool isApplicationAddress(const QString &address)
{
    return lastPathComponent(address).toLower().contains(ownName);
}

QString archiveName(const QString &address)
{
    const QString name = address.mid(address.lastIndexOf(QLatin1Char('/')) + 1);
    const bool isName = !name.isEmpty() && name != QLatin1String(".") &&
                        name != QLatin1String("..") && !name.contains(QChar::Null) &&
                        name.toUtf8().size() <= longestName;
    return isName ? name : QString();
}

QString addOnName(const QString &archiveName)
{
    const QString name = withoutExtension(archiveName);
    return name == archiveName ? QString() : name;
}

tl::expected<QString, QString> unpackedAddOn(const QString &folder, const QString &archiveName)
{
    const QString name = addOnName(archiveName);
    const QString item = appendPath(folder, name);
    const QFileInfo info(item);
    if (name.isNull() || !info.exists() || info.isSymLink()) {
        return refused(
            QStringLiteral("the archive does not hold %1").arg(name.isNull() ? archiveName : name));
    }
    if (const QString reason = makeExecutable({item}); !reason.isNull()) {
        return refused(reason);
    }
    return item;
}

tl::expected<QString, QString> unpackedApplication(const QString &folder, const Bundle &running,
                                                   const SignedManifest &manifest,
                                                   const std::atomic<bool> &isCancelled)
{
    QString path;
    for (const QString &entry : lsCocoa(folder)) {
        if (path.isEmpty() && pathExtension(entry) == QLatin1String("app")) {
            path = entry;
        }
    }
    if (path.isEmpty()) {
        return refused(QStringLiteral("the archive holds no application"));
    }
    const Bundle offered(path);
    if (const QString reason = versionRefusal(offered, running, manifest); !reason.isNull()) {
        return refused(reason);
    }
    const QString program = offered.programPath(running.infoValue(executableKey).toString());
    if (!QFileInfo(program).isFile() || QFileInfo(program).isSymLink()) {
        return refused(QStringLiteral("the application in the archive is incomplete"));
    }
    QString reason = makeExecutable(plainFilesIn(offered.toolsPath()) + QStringList{program});
    if (reason.isNull()) {
        reason = startRefusal(program, offered, isCancelled);
    }
    if (!reason.isNull()) {
        return refused(reason);
    }
    return path;
}

} // namespace qv
