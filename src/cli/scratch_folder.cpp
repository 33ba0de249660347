#include "cli/scratch_folder.h"

#include "process/tool_environment.h"
#include "support/platform.h"

#include <QDir>
#include <QFile>

#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

const QString namePrefix = QStringLiteral("Quorvantel-cli-");

// A folder younger than this may belong to a process that has not locked it yet.
constexpr time_t settledSeconds = 60;

platform::LockedFile lockOf(const QString &folder)
{
    return platform::lockFile(folder + QStringLiteral("/.lock"));
}

bool isOursAndSettled(const QString &folder)
{
    struct stat status {
    };
    return ::lstat(QFile::encodeName(folder).constData(), &status) == 0 &&
           S_ISDIR(status.st_mode) && status.st_uid == ::getuid() &&
           std::time(nullptr) - status.st_mtime > settledSeconds;
}

void clearAbandoned()
{
    const QDir root(ScratchFolder::root());
    for (const QString &name :
         root.entryList({namePrefix + QLatin1Char('*')}, QDir::Dirs | QDir::NoSymLinks)) {
        const QString folder = root.filePath(name);
        if (!isOursAndSettled(folder)) {
            continue;
        }
        // A process that was killed while it removed its folder has left it without a lock.
        const platform::LockedFile lock = lockOf(folder);
        if (lock.state == platform::LockedFile::State::Locked) {
            QDir(folder).removeRecursively();
            ::close(lock.descriptor);
        }
    }
}

} // namespace

QString ScratchFolder::root()
{
    return temporaryRoot();
}

std::unique_ptr<ScratchFolder> ScratchFolder::create()
{
    clearAbandoned();
    const QString folder = platform::makePrivateFolder(root() + QLatin1Char('/') + namePrefix);
    if (folder.isEmpty()) {
        return nullptr;
    }
    const platform::LockedFile lock = lockOf(folder);
    if (lock.state != platform::LockedFile::State::Locked) {
        QDir(folder).removeRecursively();
        return nullptr;
    }
    return std::unique_ptr<ScratchFolder>(new ScratchFolder(folder, lock.descriptor));
}

ScratchFolder::~ScratchFolder()
{
    QDir(m_path).removeRecursively();
    ::close(m_lock);
}

} // namespace qv
