#include "updater/application_archive.h"

#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/files.h"
#include "updater/archive_signature.h"
#include "updater/update_reply.h"
#include "updater/zip_archive.h"

#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace qv
{
namespace
{

constexpr int longestName = 200; // bytes; leaves room for what is added to it
const QString ownName = QStringLiteral("quorvantel");
const QString identifierKey = QStringLiteral("CFBundleIdentifier");
const QString executableKey = QStringLiteral("CFBundleExecutable");

auto refused(const QString &reason)
{
    return tl::make_unexpected(reason);
}

void makeExecutable(const QStringList &files)
{
    if (!files.isEmpty()) {
        taskArray1PipeMax(QStringList{QStringLiteral("/bin/chmod"), QStringLiteral("+x")} + files,
                          ErrorText::Inherited);
    }
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

QString versionRefusal(const Bundle &offered, const Bundle &running)
{
    if (offered.infoValue(identifierKey).toString() != running.identifier()) {
        return QStringLiteral("the archive holds another application");
    }
    if (!isNewerVersion(offered.version(), running.version())) {
        return QStringLiteral("the archive holds version %1, which is not newer than %2")
            .arg(offered.version(), running.version());
    }
    return {};
}

// What can't be started here must not take the place of what can: built for another machine,
// missing a library of a newer system. Null when it starts.
QString startRefusal(const QString &program, const QString &version)
{
    const QString printed =
        taskArray1PipeMax({program, QStringLiteral("--version")}, ErrorText::Inherited);
    if (printed.contains(version)) {
        return {};
    }
    // So the system answers for any program on a volume that is mounted without that right.
    if (::access(QFile::encodeName(program).constData(), X_OK) != 0) {
        return QStringLiteral("the new version can't be tried, because programs in %1 may not be "
                              "executed")
            .arg(temporaryFolder());
    }
    return QStringLiteral("the new version does not start on this system");
}

} // namespace

tl::expected<void, QString> openArchive(const QString &archive, const ArchiveProof &proof,
                                        const std::atomic<bool> &isCancelled)
{
    if (proof.publicKey) {
        if (auto right = checkSignature(archive, proof.signature, *proof.publicKey); !right) {
            return right;
        }
    }
    return SSZipArchive::unzipFileAtPath(archive, QFileInfo(archive).path(), {}, &isCancelled);
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

tl::expected<QString, QString> unpackedAddOn(const QString &archive)
{
    const QString item = withoutExtension(archive);
    const QFileInfo info(item);
    if (item == archive || !info.exists() || info.isSymLink()) {
        return refused(QStringLiteral("the archive does not hold %1").arg(lastPathComponent(item)));
    }
    makeExecutable({item});
    return item;
}

tl::expected<QString, QString> unpackedApplication(const QString &folder, const Bundle &running)
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
    if (const QString reason = versionRefusal(offered, running); !reason.isNull()) {
        return refused(reason);
    }
    const QString program = offered.programPath(running.infoValue(executableKey).toString());
    if (!QFileInfo(program).isFile() || QFileInfo(program).isSymLink()) {
        return refused(QStringLiteral("the application in the archive is incomplete"));
    }
    makeExecutable(plainFilesIn(offered.toolsPath()) + QStringList{program});
    if (const QString reason = startRefusal(program, offered.version()); !reason.isNull()) {
        return refused(reason);
    }
    return path;
}

} // namespace qv
