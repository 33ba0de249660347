#include "process/scratch_folder.h"

#include "process/tool_environment.h"
#include "support/files.h"
#include "support/platform.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

using State = platform::LockedFile::State;

const QString lockName = QStringLiteral(".lock");

// Seconds. A folder under its first name that is older was left behind.
constexpr time_t beginning = 60;

// A folder gets its name once it is locked, so one without a lock has no owner.
QString firstPrefix(const QString &prefix)
{
    return QLatin1Char('.') + prefix;
}

platform::LockedFile lockOf(const QString &folder)
{
    return platform::lockFile(appendPath(folder, lockName));
}

bool isOlderThan(const QString &folder, time_t seconds)
{
    struct stat status {
    };
    return ::lstat(QFile::encodeName(folder).constData(), &status) == 0 &&
           std::time(nullptr) - status.st_mtime > seconds;
}

void removeIfAbandoned(const QString &folder)
{
    const platform::LockedFile lock = lockOf(folder);
    if (lock.state == State::Locked) {
        QDir(folder).removeRecursively();
        ::close(lock.descriptor);
    }
}

void removeAbandoned(const QString &prefix)
{
    const QDir root(temporaryRoot());
    const QStringList patterns{prefix + u'*', firstPrefix(prefix) + u'*'};
    for (const QString &name :
         root.entryList(patterns, QDir::Dirs | QDir::Hidden | QDir::NoSymLinks)) {
        const QString folder = root.filePath(name);
        const bool isNamed = name.startsWith(prefix);
        if (platform::isOwnFolder(folder) && (isNamed || isOlderThan(folder, beginning))) {
            removeIfAbandoned(folder);
        }
    }
}

bool rename(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

// The same random end behind the prefix.
QString named(const QString &folder, const QString &prefix)
{
    const QString name = lastPathComponent(folder);
    return appendPath(temporaryRoot(), prefix + name.mid(firstPrefix(prefix).size()));
}

// Not when the folder was removed and the name is another process's by now.
bool isLockOf(const QString &folder, int lock)
{
    struct stat own {
    };
    struct stat there {
    };
    return ::fstat(lock, &own) == 0 &&
           ::lstat(QFile::encodeName(appendPath(folder, lockName)).constData(), &there) == 0 &&
           own.st_dev == there.st_dev && own.st_ino == there.st_ino;
}

bool emptyButLock(const QString &folder)
{
    bool isEmpty = true;
    const QDir dir(folder);
    for (const QString &name :
         dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        isEmpty = (name == lockName || rmCocoa(dir.filePath(name))) && isEmpty;
    }
    return isEmpty;
}

} // namespace

std::unique_ptr<ScratchFolder> ScratchFolder::create(const QString &prefix)
{
    removeAbandoned(prefix);
    const QString first =
        platform::makePrivateFolder(appendPath(temporaryRoot(), firstPrefix(prefix)));
    if (first.isEmpty()) {
        return nullptr;
    }
    const platform::LockedFile lock = lockOf(first);
    const QString folder = named(first, prefix);
    if (!rename(first, folder)) {
        QDir(first).removeRecursively();
        ::close(lock.descriptor);
        return nullptr;
    }
    return std::unique_ptr<ScratchFolder>(new ScratchFolder(folder, lock.descriptor));
}

std::unique_ptr<ScratchFolder> ScratchFolder::take(const QString &path)
{
    QDir().mkdir(path);
    // Anybody who may write in the temporary folder can have taken the name.
    if (!platform::isOwnFolder(path) || !platform::makePrivate(path)) {
        return nullptr;
    }
    const platform::LockedFile lock = lockOf(path);
    if (lock.state != State::Locked) {
        return nullptr;
    }
    std::unique_ptr<ScratchFolder> folder(new ScratchFolder(path, lock.descriptor));
    return emptyButLock(path) ? std::move(folder) : nullptr;
}

ScratchFolder::~ScratchFolder()
{
    if (m_lock < 0 || isLockOf(m_path, m_lock)) {
        QDir(m_path).removeRecursively();
    }
    if (m_lock >= 0) {
        ::close(m_lock);
    }
}

} // namespace qv
