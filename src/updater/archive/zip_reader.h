#pragma once

#include "updater/archive/zip_input.h"

#include <QByteArray>

#include <functional>
#include <memory>
#include <optional>

// What an archive's directory says, and its entries' contents. Nothing of it is checked but that it
// can be read.
namespace qv
{

struct ZipPlace {
    quint64 directoryOffset = 0;
    quint64 number = 0;
    quint64 size = 0; // of the content
    quint32 checksum = 0;
    bool isWide = false; // has 64-bit sizes, by which minizip can't compare length and checksum
};

struct ZipEntry {
    QByteArray name; // bytes, with a "/" at the end of a folder's
    ZipPlace place;
    quint64 packedSize = 0;
    std::optional<qint64> date;      // seconds of Unix time
    std::optional<quint32> unixMode; // of an entry made on a Unix
    bool isEncrypted = false;
    unsigned long method = 0;
};

class ZipReader
{
public:
    // Over an open file, which the caller keeps open. The reason is for people.
    static tl::expected<ZipReader, QString> over(int file);

    // As the archive says it.
    quint64 count() const { return m_count; }
    // The entry after the one that was given or read last; nothing when it can't be read.
    std::optional<ZipEntry> next();

    // Hands on the content piece by piece, until `take` gives false.
    enum class Outcome { Whole, Damaged, Stopped };
    using Take = std::function<bool(const char *bytes, size_t size)>;
    Outcome read(const ZipPlace &place, const Take &take);

private:
    struct Close {
        void operator()(void *archive) const;
    };
    explicit ZipReader(std::unique_ptr<ZipInput> input);
    Outcome readOpened(const ZipPlace &place, const Take &take);

    std::unique_ptr<ZipInput> m_input; // stays where it is: minizip keeps its address
    std::unique_ptr<void, Close> m_archive;
    quint64 m_count = 0;
    bool m_isAtStart = true;
    std::unique_ptr<char[]> m_buffer;
};

} // namespace qv
