#include "controller/sheet_delivery.h"

#include "controller/sheet_owner.h"
#include "process/child_process.h"
#include "support/platform.h"
#include "support/whole_write.h"

#include <QFile>
#include <QRandomGenerator>
#include <QSysInfo>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

DeliveryFailure failure(const char *what, int error)
{
    return {error == EEXIST, QStringLiteral("the sheet could not be %1: %2")
                                 .arg(QLatin1String(what), qt_error_string(error))};
}

// The error number; 0 when all was copied.
int copyBytes(int from, int to)
{
    char buffer[65536];
    while (true) {
        const ssize_t n = ::read(from, buffer, sizeof buffer);
        if (n == 0) {
            return 0;
        }
        if (n < 0 && errno != EINTR) {
            return errno;
        }
        const int error = n > 0 ? writeAll(to, buffer, static_cast<size_t>(n)) : 0;
        if (error != 0) {
            return error;
        }
    }
}

// A sheet that is at its name is on the disk, too.
int writeThrough(int from, int to)
{
    if (const int error = copyBytes(from, to); error != 0) {
        return error;
    }
    return ::fsync(to) == 0 ? 0 : errno;
}

QString folderOf(const QString &destination)
{
    return destination.left(destination.lastIndexOf(QLatin1Char('/')));
}

const QByteArray passingBegin = ".quorvantel-";
const QByteArray passingEnd = ".part";
constexpr time_t longestPassing = 3600; // seconds
// With such folders version 1.0 tried whether a destination can be written.
const QByteArray probeBegin = "_KVdir";
constexpr time_t longestProbe = 60; // seconds

// The same for processes that see each other's locks whatever the file system.
QByteArray machineMark()
{
    static const QByteArray mark = QSysInfo::bootUniqueId().left(8) + '-';
    return mark;
}

enum class Lock { Taken, HeldByAnother, Unsupported };

Lock lock(int file)
{
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) {
        return Lock::Taken;
    }
    return errno == EWOULDBLOCK ? Lock::HeldByAnother : Lock::Unsupported;
}

QByteArray passingName(const QString &folder)
{
    const quint64 number = QRandomGenerator::system()->generate64();
    return QFile::encodeName(folder) + '/' + passingBegin + machineMark() +
           QByteArray::number(number, 16) + passingEnd;
}

// A name beside the destination for the one moment that a replacement needs, or for file systems
// that have no files without a name. The name goes however the function that uses it is left. Its
// file is locked as long as it is open.
class PassingFile
{
public:
    explicit PassingFile(const QString &folder) : m_name(passingName(folder)) {}
    ~PassingFile() { ::unlink(m_name.constData()); }
    PassingFile(const PassingFile &) = delete;
    PassingFile &operator=(const PassingFile &) = delete;
    const char *path() const { return m_name.constData(); }

    // A new file of that name; closed, with errno, when there can be none.
    FileDescriptor open() const
    {
        FileDescriptor file(::open(path(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666));
        struct stat status {
        };
        // Another process took it for a forgotten one before it was locked.
        const bool isLost =
            file.isOpen() && (lock(file.get()) == Lock::HeldByAnother ||
                              ::fstat(file.get(), &status) != 0 || status.st_nlink == 0);
        if (isLost) {
            errno = EAGAIN;
            return FileDescriptor();
        }
        return file;
    }

private:
    QByteArray m_name;
};

// A file without a name in the folder, locked; closed when the file system has no such thing.
FileDescriptor namelessFile(const QString &folder)
{
    FileDescriptor file(
        ::open(QFile::encodeName(folder).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    if (file.isOpen()) {
        lock(file.get());
    }
    return file;
}

int linkNameless(int fd, const char *name)
{
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
    return ::linkat(AT_FDCWD, self.constData(), AT_FDCWD, name, AT_SYMLINK_FOLLOW);
}

// An existing destination makes link() fail and rename() replace it.
bool giveName(const char *from, const char *to, Existing existing)
{
    return (existing == Existing::Replace ? ::rename(from, to) : ::link(from, to)) == 0;
}

Delivery nameNameless(int fd, const QString &destination, Existing existing)
{
    const QByteArray name = QFile::encodeName(destination);
    if (existing == Existing::Keep) {
        if (linkNameless(fd, name.constData()) != 0) {
            return tl::make_unexpected(failure("named", errno));
        }
        return {};
    }
    const PassingFile passing(folderOf(destination));
    if (linkNameless(fd, passing.path()) != 0 ||
        !giveName(passing.path(), name.constData(), existing)) {
        return tl::make_unexpected(failure("named", errno));
    }
    return {};
}

// The error number; 0 when the file has moved. For file systems without hard links.
int moveToFreeName(const char *from, const char *to)
{
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    struct stat status {
    };
    if (::lstat(to, &status) == 0) {
        return EEXIST;
    }
    return ::rename(from, to) == 0 ? 0 : errno;
}

// The error number; 0 when the file has its name.
int namePassing(const PassingFile &passing, const QString &destination, Existing existing)
{
    const QByteArray name = QFile::encodeName(destination);
    if (giveName(passing.path(), name.constData(), existing)) {
        return 0;
    }
    return existing == Existing::Keep && errno != EEXIST
               ? moveToFreeName(passing.path(), name.constData())
               : errno;
}

Delivery deliverThroughPassingName(int source, const QString &destination, Existing existing)
{
    constexpr int attempts = 3;
    int error = EAGAIN;
    for (int i = 0; i < attempts && error == EAGAIN; ++i) {
        const PassingFile passing(folderOf(destination));
        const FileDescriptor target = passing.open();
        error = target.isOpen() ? writeThrough(source, target.get()) : errno;
        if (error != 0) {
            continue;
        }
        error = namePassing(passing, destination, existing);
        return error == 0 ? Delivery() : tl::make_unexpected(failure("named", error));
    }
    return tl::make_unexpected(failure("written", error));
}

bool isOlderThan(time_t seconds, const struct stat &status)
{
    return std::time(nullptr) - status.st_mtime > seconds;
}

// Whether the process that made the file has ended.
bool isForgotten(const QByteArray &path, bool isOfThisMachine)
{
    struct stat status {
    };
    const FileDescriptor file(
        ::open(path.constData(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (::lstat(path.constData(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const Lock state = file.isOpen() ? lock(file.get()) : Lock::Unsupported;
    return state != Lock::HeldByAnother &&
           ((state == Lock::Taken && isOfThisMachine) || isOlderThan(longestPassing, status));
}

void removeForgottenProbe(const QByteArray &path)
{
    struct stat status {
    };
    if (::lstat(path.constData(), &status) == 0 && isOlderThan(longestProbe, status)) {
        ::rmdir(path.constData());
    }
}

} // namespace

Delivery deliverSheet(const QString &file, const QString &destination, Existing existing)
{
    const FileDescriptor source(::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC));
    if (!source.isOpen()) {
        return tl::make_unexpected(failure("read", errno));
    }
    const FileDescriptor target = namelessFile(folderOf(destination));
    if (!target.isOpen()) {
        return deliverThroughPassingName(source.get(), destination, existing);
    }
    if (const int error = writeThrough(source.get(), target.get()); error != 0) {
        return tl::make_unexpected(failure("written", error));
    }
    return nameNameless(target.get(), destination, existing);
}

DeliveryResult deliverSheet(const SheetDelivery &delivery)
{
    constexpr int attempts = 3; // a file may come or go between the look and the delivery
    for (int i = 0; i < attempts; ++i) {
        const PlaceContent content = placeContent(delivery.sheet);
        const bool isOwn = claimOn(content, delivery.source) != Claim::None;
        if (!content.isNothing() && !delivery.replacesAny && !(isOwn && delivery.replacesOwn)) {
            return {isOwn ? DeliveryEnd::OwnIsThere : DeliveryEnd::OthersIsThere, {}};
        }
        const auto delivered =
            deliverSheet(delivery.file, delivery.sheet,
                         content.isNothing() ? Existing::Keep : Existing::Replace);
        if (delivered) {
            return {DeliveryEnd::Done, {}};
        }
        if (!delivered.error().kept) {
            return {DeliveryEnd::Failed, delivered.error().reason};
        }
    }
    return {DeliveryEnd::OthersIsThere, {}};
}

tl::expected<void, QString> prepareSheetFolder(const QString &folder)
{
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(folder).toStdString(), error);
    if (error) {
        return tl::make_unexpected(qt_error_string(error.value()));
    }
    if (namelessFile(folder).isOpen() || PassingFile(folder).open().isOpen()) {
        return {};
    }
    return tl::make_unexpected(qt_error_string(errno));
}

void removeForgottenDeliveries(const QString &folder)
{
    const QByteArray prefix = QFile::encodeName(folder) + '/';
    const auto entries = platform::readDirectory(QFile::encodeName(folder));
    for (const auto &[name, kind] : entries.value_or(std::vector<platform::DirectoryEntry>())) {
        const bool isPassing = name.startsWith(passingBegin) && name.endsWith(passingEnd);
        const bool isOfThisMachine = name.startsWith(passingBegin + machineMark());
        if (isPassing && isForgotten(prefix + name, isOfThisMachine)) {
            ::unlink((prefix + name).constData());
        } else if (kind == platform::EntryKind::Folder && name.startsWith(probeBegin)) {
            removeForgottenProbe(prefix + name);
        }
    }
}

} // namespace qv
