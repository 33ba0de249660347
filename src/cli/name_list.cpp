#include "cli/name_list.h"

#include "process/child_process.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace qv
{
namespace
{

// Whoever names an endless file by mistake must not lose the machine's memory to it.
constexpr qsizetype listMaxBytes = qsizetype{512} << 20;

tl::expected<QByteArray, QString> readAll(int descriptor)
{
    QByteArray bytes;
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    while (true) {
        const ssize_t n = ::read(descriptor, chunk.data(), static_cast<size_t>(chunk.size()));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            return tl::make_unexpected(qt_error_string(errno));
        }
        if (n == 0) {
            return bytes;
        }
        bytes.append(chunk.constData(), n);
        if (bytes.size() > listMaxBytes) {
            return tl::make_unexpected(
                QStringLiteral("it is larger than %1 MB").arg(listMaxBytes >> 20));
        }
    }
}

QByteArrayList namesIn(const QByteArray &list)
{
    const bool isNulSeparated = list.contains('\0');
    const char separator = isNulSeparated ? '\0' : '\n';
    QByteArrayList names;
    for (qsizetype from = 0; from < list.size();) {
        const qsizetype found = list.indexOf(separator, from);
        const qsizetype next = found < 0 ? list.size() : found;
        qsizetype end = next;
        if (!isNulSeparated && end > from && list.at(end - 1) == '\r') {
            --end;
        }
        if (end > from) {
            names.append(list.mid(from, end - from));
        }
        from = next + 1;
    }
    return names;
}

} // namespace

tl::expected<QByteArrayList, QString> readNames(int descriptor)
{
    const auto list = readAll(descriptor);
    if (!list) {
        return tl::make_unexpected(list.error());
    }
    QByteArrayList names = namesIn(*list);
    if (names.isEmpty()) {
        return tl::make_unexpected(QStringLiteral("it names no source"));
    }
    return names;
}

tl::expected<QByteArrayList, QString> readNamesOf(const QString &file)
{
    const FileDescriptor descriptor(
        ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC));
    return descriptor.isOpen() ? readNames(descriptor.get())
                               : tl::make_unexpected(qt_error_string(errno));
}

} // namespace qv
