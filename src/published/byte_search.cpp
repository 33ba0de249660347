#include "published/byte_search.h"

#include "support/log.h"

#include <QByteArrayMatcher>
#include <QIODevice>

#include <algorithm>
#include <new>

namespace qv
{
namespace
{

constexpr int notADigit = -1;

int digitValue(QChar digit)
{
    const char16_t code = digit.unicode();
    if (code >= u'0' && code <= u'9') {
        return code - u'0';
    }
    const char16_t lower = code | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : notADigit;
}

// Null when there is no memory for so many.
QByteArray bytesFor(qsizetype count)
{
    QByteArray bytes("");
    try {
        bytes.resize(count);
    } catch (const std::bad_alloc &) {
        return {};
    }
    return bytes;
}

QByteArray refused(const QString &why)
{
    logLine(why);
    return {};
}

} // namespace

QByteArray toDataFromHexString(const QString &text)
{
    if (text.isNull()) {
        return {};
    }
    if (text.size() % 2 != 0) {
        return refused(QStringLiteral("String length is odd !"));
    }
    QByteArray bytes = bytesFor(text.size() / 2);
    if (bytes.isNull()) {
        return refused(QStringLiteral("Out of memory"));
    }
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const int high = digitValue(text[2 * i]);
        const int low = digitValue(text[2 * i + 1]);
        if (high == notADigit || low == notADigit) {
            return refused(QStringLiteral("String is not hexadecimal !"));
        }
        bytes[i] = static_cast<char>(high * 16 + low);
    }
    return bytes;
}

void replaceData(QByteArray &data, const QByteArray &search, const QByteArray &with)
{
    if (const qint64 at = offsetOfData(data, search); at >= 0) {
        data.replace(at, search.size(), with);
    }
}

void replaceAllData(QByteArray &data, const QByteArray &search, const QByteArray &with)
{
    if (!search.isEmpty()) {
        data.replace(search, with);
    }
}

qint64 offsetOfData(QByteArrayView data, QByteArrayView search)
{
    return search.isEmpty() ? -1 : data.indexOf(search);
}

qint64 offsetOfData(QIODevice &device, const QByteArray &search)
{
    constexpr qsizetype blockSize = 65536;
    if (search.isEmpty()) {
        return -1;
    }
    const QByteArrayMatcher matcher(search);
    qint64 start = device.pos(); // of the window
    QByteArray window;
    for (QByteArray block = device.read(blockSize); !block.isEmpty();
         block = device.read(blockSize)) {
        window += block;
        if (const qsizetype found = matcher.indexIn(window); found >= 0) {
            return start + found;
        }
        // A match may have begun in the bytes before the next block.
        const qsizetype done = std::max<qsizetype>(0, window.size() - (search.size() - 1));
        window.remove(0, done);
        start += done;
    }
    return -1;
}

} // namespace qv
