#pragma once

#include <QByteArray>
#include <QFile>

#include <optional>

// The boxes of a movie file (ISO/IEC 14496-12).
namespace qv
{

struct Box {
    quint64 length = 0; // bytes, with its header
    QByteArray type;
    int headerLength = 0; // bytes
};

// Fewer bytes where the file ends.
QByteArray bytesAt(QFile &file, qint64 position, qint64 count);

// Nothing where no box begins. Its length may lead past the end of the file.
std::optional<Box> boxAt(QFile &file, qint64 position);

} // namespace qv
