#pragma once

#include <QByteArray>
#include <QList>

#include <optional>
#include <zlib.h>

// Zip archives made byte by byte, so that they may say what no tool would write.
struct ZipItem {
    QByteArray name;
    QByteArray content = {};
    quint32 mode = 0100644;
    int host = 3; // Unix
    quint16 method = 0;
    quint16 flags = 0;
    QByteArray packed = {};                    // null: the content
    std::optional<quint32> claimedSize = {};   // instead of the content's
    std::optional<quint32> claimedPacked = {}; // instead of what is packed
    std::optional<quint32> claimedChecksum = {};
    QByteArray extra = {};
    quint32 dosTime = 0x58218000; // 2024-01-01 16:00:00
};

inline QByteArray littleEndian(quint64 value, int bytes)
{
    QByteArray text;
    for (int i = 0; i < bytes; ++i) {
        text.append(static_cast<char>(value >> (8 * i)));
    }
    return text;
}

inline QByteArray deflated(const QByteArray &content)
{
    return qCompress(content).mid(6).chopped(4); // without the marks around the bare stream
}

inline ZipItem deflatedItem(const QByteArray &name, const QByteArray &content)
{
    ZipItem item{name, content};
    item.method = 8;
    item.packed = deflated(content);
    return item;
}

inline ZipItem linkItem(const QByteArray &name, const QByteArray &target)
{
    return {name, target, 0120777};
}

inline ZipItem folderItem(const QByteArray &name)
{
    return {name, {}, 040755};
}

// What the local header and the directory's one have in common.
inline QByteArray commonFields(const ZipItem &item)
{
    const QByteArray &packed = item.packed.isNull() ? item.content : item.packed;
    const auto checksum =
        static_cast<quint32>(::crc32(0, reinterpret_cast<const Bytef *>(item.content.constData()),
                                     static_cast<uInt>(item.content.size())));
    return littleEndian(20, 2) + littleEndian(item.flags, 2) + littleEndian(item.method, 2) +
           littleEndian(item.dosTime, 4) +
           littleEndian(item.claimedChecksum.value_or(checksum), 4) +
           littleEndian(item.claimedPacked.value_or(static_cast<quint32>(packed.size())), 4) +
           littleEndian(item.claimedSize.value_or(static_cast<quint32>(item.content.size())), 4) +
           littleEndian(static_cast<quint64>(item.name.size()), 2) +
           littleEndian(static_cast<quint64>(item.extra.size()), 2);
}

inline QByteArray localPart(const ZipItem &item)
{
    return "PK\3\4" + commonFields(item) + item.name + item.extra +
           (item.packed.isNull() ? item.content : item.packed);
}

inline QByteArray directoryPart(const ZipItem &item, qsizetype offset)
{
    return "PK\1\2" + littleEndian(static_cast<quint64>(item.host << 8 | 30), 2) +
           commonFields(item) + littleEndian(0, 6) + littleEndian(quint64{item.mode} << 16, 4) +
           littleEndian(static_cast<quint64>(offset), 4) + item.name + item.extra;
}

inline QByteArray zipBytes(const QList<ZipItem> &items)
{
    QByteArray archive;
    QByteArray directory;
    for (const ZipItem &item : items) {
        directory += directoryPart(item, archive.size());
        archive += localPart(item);
    }
    const auto count = littleEndian(static_cast<quint64>(items.size()), 2);
    return archive + directory + "PK\5\6" + littleEndian(0, 4) + count + count +
           littleEndian(static_cast<quint64>(directory.size()), 4) +
           littleEndian(static_cast<quint64>(archive.size()), 4) + littleEndian(0, 2);
}
