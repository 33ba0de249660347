#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

class QIODevice;

// Bytes found and replaced in buffers and open files. Nothing searched for is never found.
namespace qv
{

// The bytes that a text of hexadecimal digits writes, two digits each. A null array, with the
// reason logged, for an odd number of digits or anything that is none; null for a null text.
QByteArray toDataFromHexString(const QString &text);

// Replaces the first occurrence, or all; what a replacement brings in is not searched again.
void replaceData(QByteArray &data, const QByteArray &search, const QByteArray &with);
void replaceAllData(QByteArray &data, const QByteArray &search, const QByteArray &with);

// Where the first occurrence begins; -1 when there is none.
qint64 offsetOfData(QByteArrayView data, QByteArrayView search);
// The same in an open device, from its current position to its end and counted from its start (a
// pipe's: from where the reading began). -1 also when it can't be read. Reads in blocks, and leaves
// the position behind the last one.
qint64 offsetOfData(QIODevice &device, const QByteArray &search);

} // namespace qv
