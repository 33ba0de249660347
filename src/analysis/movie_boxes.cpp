#include "analysis/movie_boxes.h"

#include <QtEndian>

namespace qv
{

QByteArray bytesAt(QFile &file, qint64 position, qint64 count)
{
    return file.seek(position) ? file.read(count) : QByteArray();
}

// The length may be 1, for a longer length behind the type, or 0 for "to the end".
std::optional<Box> boxAt(QFile &file, qint64 position)
{
    constexpr int shortHeader = 8;
    constexpr int longHeader = 16;
    const QByteArray header = bytesAt(file, position, longHeader);
    if (header.size() < shortHeader) {
        return std::nullopt;
    }
    Box box{qFromBigEndian<quint32>(header.constData()), header.mid(4, 4), shortHeader};
    if (box.length == 0) {
        box.length = static_cast<quint64>(file.size() - position);
    } else if (box.length == 1 && header.size() == longHeader) {
        box.length = qFromBigEndian<quint64>(header.constData() + shortHeader);
        box.headerLength = longHeader;
    }
    return box.length >= static_cast<quint64>(box.headerLength) ? std::optional(box) : std::nullopt;
}

} // namespace qv
