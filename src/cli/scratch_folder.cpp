#include "cli/scratch_folder.h"

#include "process/tool_environment.h"

#include <QDir>
#include <QFile>

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

const QString namePrefix = QStringLiteral("Quorvantel-cli-");

// A folder younger than this may belong to a process that has not locked it yet.
constexpr time_t settledSeconds = 60;

QByteArray lockFile(const QString &folder)
{
    return QFile::encodeName(folder) + "/.lock";
}

int openLock(const QString &folder, int flags)
{
    return ::open(lockFile(folder).constData(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600);
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
        const int lock = openLock(folder, O_CREAT);
        if (lock < 0) {
            continue;
        }
        if (::flock(lock, LOCK_EX | LOCK_NB) == 0) {
            QDir(folder).removeRecursively();
        }
        ::close(lock);
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
    QByteArray path = QFile::encodeName(root() + QLatin1Char('/') + namePrefix) + "XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        return nullptr;
    }
    const QString folder = QFile::decodeName(path);
    const int lock = openLock(folder, O_CREAT);
    if (lock < 0 || ::flock(lock, LOCK_EX | LOCK_NB) != 0) {
        return nullptr;
    }
    return std::unique_ptr<ScratchFolder>(new ScratchFolder(folder, lock));
}

ScratchFolder::~ScratchFolder()
{
    QDir(m_path).removeRecursively();
    ::close(m_lock);
}

} // namespace qv
