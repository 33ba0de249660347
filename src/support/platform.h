#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

// What the application asks of the operating system beyond Qt. Another system needs another
// platform.cpp, nothing else.
namespace qv::platform
{

// The running executable, links resolved; empty when unknown.
QString executablePath();
// The login name of the process's user, from the user database; empty when unknown.
QString loginName();

// Bytes that an ordinary user can still write on the volume that holds the path, or the error.
struct FreeSpace {
    std::optional<quint64> bytes;
    QString error;
};
FreeSpace freeSpace(const QString &path);

// When the item was made: birth time, or the time of its last modification where the file system
// keeps none. Invalid when there is no such item.
QDateTime creationTime(const QString &path);
// Gives the item the times of last access and modification of another one.
bool copyTimes(const QByteArray &rawFrom, const QByteArray &rawTo);
// Its own size in bytes, links not followed; 0 when missing.
qint64 itemSize(const QByteArray &rawPath);
// Whether another volume begins at the folder.
bool isMountPoint(const QString &path);

// One folder's entries in no order, without "." and "..". Names are the bytes of the file system,
// which need not be valid UTF-8. Nothing when the folder can't be read.
enum class EntryKind { File, Folder, LinkToFolder, Other };
struct DirectoryEntry {
    QByteArray name;
    EntryKind kind = EntryKind::Other; // a link to a file is a File, a broken one Other
};
std::optional<std::vector<DirectoryEntry>> readDirectory(const QByteArray &rawPath);

// Points standard output (1) or standard error (2) at the file, created when missing, for
// appending. False when that failed; the stream then stays as it was.
bool reopenStream(int descriptor, const QString &path);

} // namespace qv::platform
