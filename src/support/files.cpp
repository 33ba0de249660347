// Deleting, making, moving and copying, and listing.
#include "support/files.h"

#include "support/copy_tree.h"
#include "support/deletion_guard.h"
#include "support/foreign_names.h"
#include "support/log.h"
#include "support/platform.h"
#include "support/tree_walk.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qv
{
namespace
{

// --- deleting ------------------------------------------------------------------------------------

// Nothing that can be followed stands there: a dangling link goes, anything else is gone already.
void removeDangling(const QString &path)
{
    const QString error = platform::freeSpace(path).error;
    if (error.isNull()) {
        logLine(QStringLiteral("via cocoa:  exist!!!      :-( %1").arg(path));
        return;
    }
    logDebug([&] {
        return QStringLiteral("via cocoa: Does not exist      :-( %1, ERR: %2").arg(path, error);
    });
    const QString failure = removeTree(path);
    logDebug([&] {
        return QStringLiteral("via cocoa: Does not exist (rm) ? %1, ERR: %2").arg(path, failure);
    });
}

bool removeExisting(const QString &path)
{
    if (removeTree(path).isNull()) {
        return true;
    }
    logLine(QStringLiteral("File current        :-( not deleted 1"));
    moveToTrash(path);
    logLine(QStringLiteral("File current        :-/ …to trash"));
    if (fileExists(path)) {
        logLine(QStringLiteral("File current        :-( failure"));
        return false;
    }
    return true;
}

// --- moving and copying --------------------------------------------------------------------------

// The two operations differ in what they do at the end and by a blank in their log lines.
struct Transfer {
    QString labelCurrent;
    QString labelNew;
    QString alreadyExists;
    QString deletedFirst;
    QString done;
    bool removesSource;
};

const Transfer &moving()
{
    static const Transfer transfer = {
        QStringLiteral("File current        :   "),  QStringLiteral("File new            :   "),
        QStringLiteral("New already exists   :-( "), QStringLiteral("New deleted first    :-) "),
        QStringLiteral("File moved          :-) "),  true};
    return transfer;
}

const Transfer &copying()
{
    static const Transfer transfer = {
        QStringLiteral("File current        : "),   QStringLiteral("File new            : "),
        QStringLiteral("New already exists  :-( "), QStringLiteral("New deleted first   :-) "),
        QStringLiteral("File copied         :-) "), false};
    return transfer;
}

// A name beside the item that nothing has yet, on the same volume.
QString freeSibling(const QString &path)
{
    QString sibling;
    do {
        const quint32 number = QRandomGenerator::global()->generate();
        sibling = QStringLiteral("%1.%2.tmp").arg(QDir::cleanPath(path), QString::number(number));
    } while (standsThere(sibling));
    return sibling;
}

// As the system renames: within one volume, a file in the way replaced in the same instant.
bool renameItem(const QString &source, const QString &destination)
{
    return std::rename(QFile::encodeName(source).constData(),
                       QFile::encodeName(destination).constData()) == 0;
}

// Renames onto the destination. A folder in the way steps aside first and comes back on failure.
bool renameOnto(const QString &source, const QString &destination)
{
    if (!standsThere(destination) || (!isRealFolder(source) && !isRealFolder(destination))) {
        return renameItem(source, destination);
    }
    const QString aside = freeSibling(destination);
    if (!renameItem(destination, aside)) {
        return false;
    }
    if (!renameItem(source, destination)) {
        const int error = errno;
        renameItem(aside, destination);
        errno = error;
        return false;
    }
    removeTree(aside);
    return true;
}

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// The copy takes the destination's name only once it is complete.
QString copyOnto(const QString &source, const QString &destination)
{
    const QString staged = freeSibling(destination);
    QString error = copyTree(source, staged);
    if (error.isNull() && !renameOnto(staged, destination)) {
        error = systemError();
    }
    if (!error.isNull()) {
        removeTree(staged);
    }
    return error;
}

QString moveOnto(const QString &source, const QString &destination)
{
    if (renameOnto(source, destination)) {
        return {};
    }
    if (errno != EXDEV) { // another volume needs a copy
        return systemError();
    }
    const QString error = copyOnto(source, destination);
    return error.isNull() ? removeTree(source) : error;
}

QString folderKey(const QString &path)
{
    return QFileInfo(path).canonicalFilePath() + QLatin1Char('/');
}

// Replacing a folder by what it holds would delete the source first, and a folder can't go into
// itself.
bool holdEachOther(const QString &source, const QString &destination)
{
    const QString target = standsThere(destination) ? destination : QFileInfo(destination).path();
    const QString from = folderKey(source);
    const QString to = folderKey(target);
    return (isRealFolder(source) && to.startsWith(from)) ||
           (standsThere(destination) && from.startsWith(to));
}

bool makeRoom(const Transfer &transfer, const QString &destination, const QString &overwrite)
{
    if (!standsThere(destination)) {
        return true;
    }
    if (overwrite != QLatin1String("y") || !deletionIsAllowed(destination)) {
        logLine(transfer.alreadyExists + destination);
        return false;
    }
    logDebug([&] { return transfer.deletedFirst + destination; });
    return true;
}

bool transferItem(const Transfer &transfer, const QString &source, const QString &destination,
                  const QString &overwrite)
{
    if (source.isEmpty() || destination.isEmpty()) {
        return false;
    }
    logDebug([&] { return transfer.labelCurrent + source; });
    logDebug([&] { return transfer.labelNew + destination; });
    if (!fileExists(source)) {
        logLine(QStringLiteral("File current        :-( does not exist: %1").arg(source));
        return false;
    }
    if (!makeRoom(transfer, destination, overwrite)) {
        return false;
    }
    const QString error = holdEachOther(source, destination) ? QStringLiteral("same place")
                          : transfer.removesSource           ? moveOnto(source, destination)
                                                             : copyOnto(source, destination);
    if (!error.isNull()) {
        logLine(QStringLiteral("File new            :-( %1: %2").arg(destination, error));
        return false;
    }
    logDebug([&] { return transfer.done + destination; });
    return true;
}

// --- trying a folder -----------------------------------------------------------------------------

const QString probeName = QStringLiteral("_KVdir");
constexpr qint64 longestProbe = 60; // seconds

// --- listing -------------------------------------------------------------------------------------

bool isUserTrash(const QByteArray &name)
{
    const QByteArray prefix(".Trash-");
    bool isNumber = false;
    name.mid(prefix.size()).toUInt(&isNumber);
    return name.startsWith(prefix) && isNumber;
}

// The trash of this system (on other volumes, in the home) and of others that wrote the disk.
bool isTrash(const QByteArray &path)
{
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    return name == ".Trash" || name == ".Trashes" || name == "$RECYCLE.BIN" ||
           name == "System Volume Information" || isUserTrash(name) ||
           path.endsWith("/.local/share/Trash");
}

// On many disks, closed to all but the system, and nobody's videos are in it.
bool isSystemFolder(const QByteArray &path)
{
    return path.endsWith("/lost+found");
}

// Undecodable folders can't be named, only walked through.
bool canBeListed(const QByteArray &path, platform::EntryKind kind)
{
    return kind == platform::EntryKind::File || QString::fromUtf8(path).toUtf8() == path;
}

// A process that is killed while it tries a folder leaves its probe there.
void removeForgottenProbes(const QString &folder)
{
    const QDateTime forgotten = QDateTime::currentDateTime().addSecs(-longestProbe);
    const QFileInfoList probes =
        QDir(folder).entryInfoList({probeName + QLatin1Char('*')}, QDir::Dirs | QDir::NoSymLinks);
    for (const QFileInfo &probe : probes) {
        if (probe.lastModified() < forgotten) {
            QDir().rmdir(probe.filePath());
        }
    }
}

} // namespace

bool rmCocoa(const QString &path)
{
    const QString expanded = expandTilde(path);
    if (expanded.isEmpty()) {
        return false;
    }
    logDebug([&] { return QStringLiteral("rmCocoa             - debut - %1").arg(expanded); });
    if (!deletionIsAllowed(expanded)) {
        return false;
    }
    const QString item = QDir::cleanPath(expanded);
    if (!fileExists(item)) {
        removeDangling(item);
        return true;
    }
    if (!removeExisting(item)) {
        return false;
    }
    logDebug([&] { return QStringLiteral("rmCocoa             - fin - %1").arg(expanded); });
    return true;
}

bool mkdir(const QString &path)
{
    const QString expanded = expandTilde(path);
    if (expanded.isEmpty()) {
        return false;
    }
    if (QDir().mkpath(expanded)) {
        return true;
    }
    logLine(QStringLiteral("mkdir               :-(  '%1'").arg(expanded));
    if (QDir().mkpath(expanded)) {
        return true;
    }
    logLine(QStringLiteral("mkdir               :-(( '%1'").arg(expanded));
    return false;
}

bool moveFile(const QString &source, const QString &destination, const QString &overwrite)
{
    return transferItem(moving(), expandTilde(source), expandTilde(destination), overwrite);
}

bool copyFile(const QString &source, const QString &destination, const QString &overwrite)
{
    return transferItem(copying(), expandTilde(source), expandTilde(destination), overwrite);
}

bool moveToTrash(const QString &path, QString *where)
{
    const QString expanded = expandTilde(path);
    if (expanded.isEmpty()) {
        return false;
    }
    // The trash of the home is made where it is missing, but not the folders that lead to it.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    if (!QFile::moveToTrash(expanded, where)) {
        logLine(QStringLiteral("moveToTrash         :-( %1").arg(expanded));
    }
    return true;
}

bool droitsAcces(const QString &path)
{
    const QString expanded = expandTilde(path);
    if (expanded.isEmpty()) {
        return false;
    }
    const QString folder = QFileInfo(expanded).isDir() ? expanded : QFileInfo(expanded).path();
    const quint64 number = QRandomGenerator::global()->generate64() >> 1;
    removeForgottenProbes(folder);
    const QString probe = appendPath(folder, probeName + QString::number(number));
    const bool writable = mkdir(probe) && fileExists(probe) && rmCocoa(probe) && !fileExists(probe);
    QDir().rmdir(probe); // where the guard kept it
    logLine(QStringLiteral("droitsAcces         ? %1 (%2)")
                .arg(QString::number(writable ? 1 : 0), expanded));
    return writable;
}

QStringList lsCocoa(const QString &path)
{
    const QByteArray folder = QFile::encodeName(expandTilde(path));
    QStringList paths;
    for (const platform::DirectoryEntry &entry : sortedEntries(folder)) {
        const QByteArray entryPath =
            folder.endsWith('/') ? folder + entry.name : folder + '/' + entry.name;
        if (canBeListed(entryPath, entry.kind)) {
            paths.append(usablePath(entryPath));
        }
    }
    return paths;
}

QStringList subpaths(const QString &folder, QStringList *closed)
{
    QStringList paths;
    if (folder.isEmpty()) {
        return paths;
    }
    const QByteArray root = QFile::encodeName(expandTilde(folder));
    walkTree(
        root,
        [&](const QByteArray &path, platform::EntryKind kind) {
            if (isTrash(path)) {
                return false;
            }
            if (canBeListed(path, kind)) {
                paths.append(usablePath(path));
            }
            return true;
        },
        [&](const QByteArray &path) {
            if (closed != nullptr && (path == root || !isSystemFolder(path))) {
                closed->append(usablePath(path));
            }
        });
    return paths;
}

bool standsThere(const QString &path)
{
    const QFileInfo item(expandTilde(path));
    return item.exists() || item.isSymLink();
}

bool isRealFolder(const QString &path)
{
    const QFileInfo item(expandTilde(path));
    return item.isDir() && !item.isSymLink();
}

bool fileExists(const QString &path)
{
    return !path.isEmpty() && QFileInfo::exists(expandTilde(path));
}

} // namespace qv
