// The library reads whole files, inflates what a chunk says, and follows every other format's
// structures. To find one packet, the few bytes before it do.

#include "sheet/xmp_packet.h"

#include <QFile>
#include <QtEndian>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

// More than any writer makes before or after the pixels.
constexpr int segmentLimit = 2000;
constexpr int chunkLimit = 20000;

const QByteArray jpegStart = "\xff\xd8";
const QByteArray jpegXmp("http://ns.adobe.com/xap/1.0/\0", 29);
const QByteArray pngStart("\x89PNG\r\n\x1a\n", 8);
// Keyword, not compressed, no language, no translated keyword.
const QByteArray pngXmp("XML:com.adobe.xmp\0\0\0\0\0", 22);
constexpr qint64 checksumSize = 4;

using Found = tl::expected<QByteArray, QString>;

Found none()
{
    return tl::make_unexpected(QStringLiteral("it carries no metadata"));
}

Found damaged()
{
    return tl::make_unexpected(QStringLiteral("it is no whole picture"));
}

// What follows `label` in the next `size` bytes, null when they begin otherwise. The file stands
// behind the label, or somewhere within it, afterwards.
Found labelled(QFile &file, qint64 size, const QByteArray &label)
{
    if (size < label.size() || file.read(label.size()) != label) {
        return QByteArray();
    }
    const qint64 left = size - label.size();
    if (left > xmpPacketLimit) {
        return tl::make_unexpected(QStringLiteral("its metadata are too large"));
    }
    const QByteArray packet = file.read(left);
    return packet.size() == left ? Found(packet) : damaged();
}

// The packet is found, can't be found, or is to be looked for further on.
bool isDecided(const Found &found)
{
    return !found || !found->isNull();
}

Found inJpeg(QFile &file)
{
    for (int segment = 0; segment < segmentLimit; ++segment) {
        const QByteArray head = file.read(4);
        if (head.size() < 4 || head.at(0) != '\xff') {
            return damaged();
        }
        const char marker = head.at(1);
        const qint64 size = qFromBigEndian<quint16>(head.constData() + 2) - 2;
        if (marker == '\xda' || marker == '\xd9') {
            return none();
        }
        const qint64 next = file.pos() + size;
        const Found found = marker == '\xe1' ? labelled(file, size, jpegXmp) : QByteArray();
        if (isDecided(found)) {
            return found;
        }
        if (size < 0 || !file.seek(next)) {
            return damaged();
        }
    }
    return none();
}

Found inPng(QFile &file)
{
    for (int chunk = 0; chunk < chunkLimit; ++chunk) {
        const QByteArray head = file.read(8);
        if (head.size() < 8) {
            return damaged();
        }
        const QByteArray type = head.mid(4);
        const qint64 size = qFromBigEndian<quint32>(head.constData());
        if (type == "IEND") {
            return none();
        }
        const qint64 next = file.pos() + size + checksumSize;
        const Found found = type == "iTXt" ? labelled(file, size, pngXmp) : QByteArray();
        if (isDecided(found)) {
            return found;
        }
        if (!file.seek(next)) {
            return damaged();
        }
    }
    return none();
}

// A pipe would keep whoever opens it waiting.
bool openPlainFile(QFile &file, const QByteArray &name)
{
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status {
    };
    if (fd < 0 || ::fstat(fd, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        ::close(fd);
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    return file.open(fd, QIODevice::ReadOnly | QIODevice::Unbuffered, QFile::AutoCloseHandle);
}

} // namespace

tl::expected<QByteArray, QString> xmpPacketIn(const QByteArray &file)
{
    QFile opened;
    if (!openPlainFile(opened, file)) {
        return tl::make_unexpected(errno == EINVAL ? QStringLiteral("it is no file")
                                                   : qt_error_string(errno));
    }
    const QByteArray start = opened.read(pngStart.size());
    if (start == pngStart) {
        return inPng(opened);
    }
    if (start.startsWith(jpegStart) && opened.seek(jpegStart.size())) {
        return inJpeg(opened);
    }
    return tl::make_unexpected(QStringLiteral("it is neither JPEG nor PNG"));
}

} // namespace qv
