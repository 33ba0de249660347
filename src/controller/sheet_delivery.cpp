#include "controller/sheet_delivery.h"

#include "process/child_process.h"
#include "support/files.h"
#include "support/whole_write.h"

#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
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

const QString passingBegin = QStringLiteral(".quorvantel-");
const QString passingEnd = QStringLiteral(".part");
constexpr qint64 longestPassing = 3600; // seconds

// A name beside the destination for the one moment that a replacement needs, or for file systems
// that have no files without a name. The name goes however the function that uses it is left.
class PassingFile
{
public:
    explicit PassingFile(const QString &destination)
    {
        const quint64 number = QRandomGenerator::system()->generate64();
        m_name = QFile::encodeName(folderOf(destination) + QLatin1Char('/') + passingBegin +
                                   QString::number(number, 16) + passingEnd);
    }
    ~PassingFile() { ::unlink(m_name.constData()); }
    PassingFile(const PassingFile &) = delete;
    PassingFile &operator=(const PassingFile &) = delete;
    const char *path() const { return m_name.constData(); }

private:
    QByteArray m_name;
};

// A file without a name in the destination's folder; closed when the file system has no such thing.
FileDescriptor namelessFile(const QString &destination)
{
    return FileDescriptor(::open(QFile::encodeName(folderOf(destination)).constData(),
                                 O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
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
    const PassingFile passing(destination);
    if (linkNameless(fd, passing.path()) != 0 ||
        !giveName(passing.path(), name.constData(), existing)) {
        return tl::make_unexpected(failure("named", errno));
    }
    return {};
}

Delivery deliverThroughPassingName(int source, const QString &destination, Existing existing)
{
    const PassingFile passing(destination);
    const FileDescriptor target(
        ::open(passing.path(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666));
    const int error = target.isOpen() ? writeThrough(source, target.get()) : errno;
    if (error != 0) {
        return tl::make_unexpected(failure("written", error));
    }
    const QByteArray name = QFile::encodeName(destination);
    if (giveName(passing.path(), name.constData(), existing)) {
        return {};
    }
    // No hard links here: look, then rename.
    if (existing == Existing::Keep && errno != EEXIST && !QFile::exists(destination) &&
        ::rename(passing.path(), name.constData()) == 0) {
        return {};
    }
    return tl::make_unexpected(failure("named", errno));
}

} // namespace

Delivery deliverSheet(const QString &file, const QString &destination, Existing existing)
{
    const FileDescriptor source(::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC));
    if (!source.isOpen()) {
        return tl::make_unexpected(failure("read", errno));
    }
    const FileDescriptor target = namelessFile(destination);
    if (!target.isOpen()) {
        return deliverThroughPassingName(source.get(), destination, existing);
    }
    if (const int error = writeThrough(source.get(), target.get()); error != 0) {
        return tl::make_unexpected(failure("written", error));
    }
    return nameNameless(target.get(), destination, existing);
}

void removeForgottenDeliveries(const QString &folder)
{
    removeForgotten(folder, Forgotten::Files, passingBegin + QLatin1Char('*') + passingEnd,
                    longestPassing);
}

} // namespace qv
