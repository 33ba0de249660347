#include "support/platform.h"

#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace qv::platform
{
namespace
{

QDateTime fromSystem(qint64 seconds, quint32 nanoseconds)
{
    return QDateTime::fromMSecsSinceEpoch(seconds * 1000 + nanoseconds / 1000000);
}

EntryKind followedKind(const QByteArray &path)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) != 0) {
        return EntryKind::Other;
    }
    if (S_ISDIR(status.st_mode)) {
        return EntryKind::LinkToFolder;
    }
    return S_ISREG(status.st_mode) ? EntryKind::File : EntryKind::Other;
}

EntryKind kindOfMode(mode_t mode, const QByteArray &path)
{
    if (S_ISLNK(mode)) {
        return followedKind(path);
    }
    if (S_ISDIR(mode)) {
        return EntryKind::Folder;
    }
    return S_ISREG(mode) ? EntryKind::File : EntryKind::Other;
}

EntryKind kindOf(const dirent &entry, const QByteArray &folder)
{
    if (entry.d_type == DT_REG) {
        return EntryKind::File;
    }
    if (entry.d_type == DT_DIR) {
        return EntryKind::Folder;
    }
    const QByteArray path = folder + '/' + entry.d_name;
    struct stat status = {};
    if (::lstat(path.constData(), &status) != 0) {
        return EntryKind::Other;
    }
    return kindOfMode(status.st_mode, path);
}

bool isSelfOrParent(const char *name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// At the end `errno` is 0, and the error's number when reading failed.
const dirent *nextEntry(DIR *directory)
{
    errno = 0;
    return ::readdir(directory);
}

std::vector<int> allowedProcessors()
{
    cpu_set_t set;
    std::vector<int> processors;
    if (::sched_getaffinity(0, sizeof set, &set) == 0) {
        for (int i = 0; i < CPU_SETSIZE; ++i) {
            if (CPU_ISSET(i, &set)) {
                processors.push_back(i);
            }
        }
    }
    return processors;
}

bool keepTo(const std::vector<int> &processors)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (const int processor : processors) {
        CPU_SET(processor, &set);
    }
    return ::sched_setaffinity(0, sizeof set, &set) == 0;
}

} // namespace

QString executablePath()
{
    return QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
}

QString loginName()
{
    std::array<char, 4096> buffer = {};
    passwd entry = {};
    passwd *found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found == nullptr ? QString() : QFile::decodeName(found->pw_name);
}

Processor processor()
{
    Processor machine;
    machine.architecture = QSysInfo::currentCpuArchitecture();
    machine.wordBits = QSysInfo::WordSize;
    machine.cores = static_cast<int>(::sysconf(_SC_NPROCESSORS_ONLN));
#if defined(__x86_64__) || defined(__i386__)
    machine.hasSse2 = __builtin_cpu_supports("sse2") != 0;
#endif
    return machine;
}

void prepareStandardStreams()
{
    int nothing = ::open("/dev/null", O_RDWR);
    while (nothing >= 0 && nothing <= STDERR_FILENO) {
        nothing = ::open("/dev/null", O_RDWR);
    }
    if (nothing >= 0) {
        ::dup2(nothing, STDIN_FILENO);
        ::close(nothing);
    }
    std::signal(SIGCHLD, SIG_DFL);
}

int keptStandardInput()
{
    return ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

int takenStandardOutput()
{
    const int own = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    return own;
}

FreeSpace freeSpace(const QString &path)
{
    struct statvfs status = {};
    if (::statvfs(QFile::encodeName(path).constData(), &status) != 0) {
        return {std::nullopt, QString::fromLocal8Bit(std::strerror(errno))};
    }
    // File systems without a fixed number of files give none.
    const bool isOutOfFiles = status.f_files > 0 && status.f_favail == 0;
    return {isOutOfFiles ? 0 : quint64{status.f_bavail} * status.f_frsize, QString()};
}

QDateTime creationTime(const QString &path)
{
    struct statx status = {};
    if (::statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_BTIME | STATX_MTIME,
                &status) != 0) {
        return {};
    }
    const bool hasBirth = (status.stx_mask & STATX_BTIME) != 0;
    const statx_timestamp &time = hasBirth ? status.stx_btime : status.stx_mtime;
    return fromSystem(time.tv_sec, time.tv_nsec);
}

bool copyTimes(const QByteArray &rawFrom, const QByteArray &rawTo)
{
    struct stat status = {};
    if (::lstat(rawFrom.constData(), &status) != 0) {
        return false;
    }
    const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
    return ::utimensat(AT_FDCWD, rawTo.constData(), times.data(), AT_SYMLINK_NOFOLLOW) == 0;
}

ExchangeResult exchange(const QString &a, const QString &b)
{
    if (::renameat2(AT_FDCWD, QFile::encodeName(a).constData(), AT_FDCWD,
                    QFile::encodeName(b).constData(), RENAME_EXCHANGE) == 0) {
        return ExchangeResult::Done;
    }
    const bool isUnknown = errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
    return isUnknown ? ExchangeResult::Unsupported : ExchangeResult::Failed;
}

void flushVolume(const QString &path)
{
    const int item = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (item >= 0) {
        ::syncfs(item);
        ::close(item);
    }
}

qint64 itemSize(const QByteArray &rawPath)
{
    struct stat status = {};
    return ::lstat(rawPath.constData(), &status) == 0 ? status.st_size : 0;
}

bool isMountPoint(const QString &path)
{
    const QByteArray rawPath = QFile::encodeName(path);
    struct stat own = {};
    struct stat parent = {};
    return ::lstat(rawPath.constData(), &own) == 0 && S_ISDIR(own.st_mode) &&
           ::lstat((rawPath + "/..").constData(), &parent) == 0 && own.st_dev != parent.st_dev;
}

std::optional<std::vector<DirectoryEntry>> readDirectory(const QByteArray &rawPath, bool *isWhole)
{
    bool unasked = false;
    bool &whole = isWhole == nullptr ? unasked : *isWhole;
    whole = false;
    const auto close = [](DIR *open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> directory(::opendir(rawPath.constData()), close);
    if (!directory) {
        return std::nullopt;
    }
    std::vector<DirectoryEntry> entries;
    while (const dirent *entry = nextEntry(directory.get())) {
        if (!isSelfOrParent(entry->d_name)) {
            entries.push_back({QByteArray(entry->d_name), kindOf(*entry, rawPath)});
        }
    }
    whole = errno == 0;
    return entries;
}

bool isOwnFolder(const QString &path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::getuid();
}

QString makePrivateFolder(const QString &prefix)
{
    QByteArray path = QFile::encodeName(prefix) + "XXXXXX";
    return ::mkdtemp(path.data()) == nullptr ? QString() : QFile::decodeName(path);
}

bool makePrivate(const QString &folder)
{
    return ::chmod(QFile::encodeName(folder).constData(), S_IRWXU) == 0;
}

LockedFile lockFile(const QString &path)
{
    // A pipe of that name must not make us wait for its other end.
    const int file = ::open(QFile::encodeName(path).constData(),
                            O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    struct stat status = {};
    const bool isOurs = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
                        status.st_uid == ::getuid() && ::fchmod(file, 0600) == 0;
    if (isOurs && ::flock(file, LOCK_EX | LOCK_NB) == 0) {
        return {LockedFile::State::Locked, file};
    }
    const bool isHeld = isOurs && errno == EWOULDBLOCK;
    if (file >= 0) {
        ::close(file);
    }
    return {isHeld ? LockedFile::State::HeldByAnother : LockedFile::State::Unusable, -1};
}

bool isPeerThisUser(qintptr socket)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    return ::getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::getuid();
}

bool reopenStream(int descriptor, const QString &path)
{
    const int file =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0) {
        return false;
    }
    std::fflush(descriptor == STDOUT_FILENO ? stdout : stderr);
    const bool done = ::dup2(file, descriptor) == descriptor;
    ::close(file);
    return done;
}

ProcessorShare::ProcessorShare(int part, int parts) : m_all(allowedProcessors())
{
    const auto count = static_cast<int>(m_all.size());
    std::vector<int> share;
    for (int i = 0; i < count; ++i) {
        if (parts <= count ? i % parts == part : i == part % count) {
            share.push_back(m_all[static_cast<std::size_t>(i)]);
        }
    }
    if (share.empty() || !keepTo(share)) {
        m_all.clear();
    }
}

ProcessorShare::~ProcessorShare()
{
    if (!m_all.empty()) {
        keepTo(m_all);
    }
}

} // namespace qv::platform
