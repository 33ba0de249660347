#include "updater/archive/zip_reader.h"

#include <QDateTime>
#include <QtEndian>

#include <algorithm>
#include <array>

#include <minizip/unzip.h>

namespace qv
{
namespace
{

constexpr unsigned bufferSize = 256 * 1024;
constexpr unsigned longestField = 65536; // name and extra fields: their lengths are 16 bits wide
constexpr unsigned long encryptedFlags = 0x2041;
constexpr unsigned long hostUnix = 3;
constexpr unsigned long hostDarwin = 19;
constexpr quint16 timestampField = 0x5455;
constexpr quint16 wideSizesField = 0x0001;
constexpr quint64 isInWideField = 0xffffffff;

ZipInput &inputOf(voidpf stream)
{
    return *static_cast<ZipInput *>(stream);
}

voidpf openInput(voidpf input, const void *, int)
{
    return input;
}

uLong readInput(voidpf, voidpf stream, void *buffer, uLong size)
{
    return inputOf(stream).read(static_cast<char *>(buffer), size);
}

ZPOS64_T tellInput(voidpf, voidpf stream)
{
    return inputOf(stream).position();
}

// Offsets from where it stands may be negative ones; unsigned sums come out right.
long seekInput(voidpf, voidpf stream, ZPOS64_T offset, int origin)
{
    ZipInput &input = inputOf(stream);
    const quint64 base = origin == ZLIB_FILEFUNC_SEEK_CUR   ? input.position()
                         : origin == ZLIB_FILEFUNC_SEEK_END ? input.size()
                                                            : 0;
    input.seek(base + offset);
    return 0;
}

int closeInput(voidpf, voidpf)
{
    return 0;
}

// minizip takes the end within a header for a zero unless it is an error.
int inputError(voidpf, voidpf stream)
{
    return inputOf(stream).isWhole() ? 0 : 1;
}

zlib_filefunc64_def functionsOver(ZipInput &input)
{
    zlib_filefunc64_def functions = {};
    functions.zopen64_file = openInput;
    functions.zread_file = readInput;
    functions.ztell64_file = tellInput;
    functions.zseek64_file = seekInput;
    functions.zclose_file = closeInput;
    functions.zerror_file = inputError;
    functions.opaque = &input;
    return functions;
}

struct RawEntry {
    unz_file_info64 info = {};
    QByteArray name;
    QByteArray extra;
};

std::optional<RawEntry> rawEntry(unzFile archive)
{
    static thread_local std::array<char, longestField> name;
    static thread_local std::array<char, longestField> extra;
    RawEntry raw;
    if (unzGetCurrentFileInfo64(archive, &raw.info, name.data(), name.size(), extra.data(),
                                extra.size(), nullptr, 0) != UNZ_OK ||
        raw.info.size_filename >= longestField || raw.info.size_file_extra >= longestField) {
        return std::nullopt;
    }
    raw.name = QByteArray(name.data(), static_cast<qsizetype>(raw.info.size_filename));
    raw.extra = QByteArray(extra.data(), static_cast<qsizetype>(raw.info.size_file_extra));
    return raw;
}

std::optional<quint32> unixMode(const unz_file_info64 &info)
{
    const unsigned long host = (info.version >> 8) & 0xff;
    if (host != hostUnix && host != hostDarwin) {
        return std::nullopt;
    }
    return static_cast<quint32>((info.external_fa >> 16) & 0xffff);
}

// The content of the extra field of that kind; null when there is none.
QByteArray extraField(const QByteArray &extra, quint16 kind)
{
    qsizetype position = 0;
    while (position + 4 <= extra.size()) {
        const auto found = qFromLittleEndian<quint16>(extra.constData() + position);
        const auto size = qFromLittleEndian<quint16>(extra.constData() + position + 2);
        position += 4;
        if (found == kind) {
            return extra.mid(position, size);
        }
        position += size;
    }
    return {};
}

std::optional<qint64> timestamp(const QByteArray &extra)
{
    const QByteArray field = extraField(extra, timestampField);
    if (field.size() < 5 || (field.at(0) & 1) == 0) {
        return std::nullopt;
    }
    return qFromLittleEndian<qint32>(field.constData() + 1);
}

// In the local time of whoever packed it, so ours is as good a guess as any.
std::optional<qint64> dosDate(const tm_unz &date)
{
    const auto number = [](unsigned value) { return static_cast<int>(value); };
    const QDateTime time(QDate(number(date.tm_year), number(date.tm_mon) + 1, number(date.tm_mday)),
                         QTime(number(date.tm_hour), number(date.tm_min), number(date.tm_sec)));
    return time.isValid() ? std::optional(time.toSecsSinceEpoch()) : std::nullopt;
}

// minizip leaves the marks in the place of 64-bit sizes where they are. The field holds those of
// the sizes that are marked, one behind the other.
void readWideSizes(const QByteArray &extra, ZipEntry &entry)
{
    const QByteArray field = extraField(extra, wideSizesField);
    qsizetype position = 0;
    for (quint64 *size : {&entry.place.size, &entry.packedSize}) {
        if (*size == isInWideField && position + 8 <= field.size()) {
            *size = qFromLittleEndian<quint64>(field.constData() + position);
            position += 8;
            entry.place.isWide = true;
        }
    }
}

ZipEntry entryOf(const RawEntry &raw)
{
    ZipEntry entry;
    entry.name = raw.name;
    entry.place.size = raw.info.uncompressed_size;
    entry.place.checksum = static_cast<quint32>(raw.info.crc);
    entry.packedSize = raw.info.compressed_size;
    readWideSizes(raw.extra, entry);
    entry.date = timestamp(raw.extra);
    if (!entry.date) {
        entry.date = dosDate(raw.info.tmu_date);
    }
    entry.unixMode = unixMode(raw.info);
    entry.isEncrypted = (raw.info.flag & encryptedFlags) != 0;
    entry.method = raw.info.compression_method;
    return entry;
}

} // namespace

void ZipReader::Close::operator()(void *archive) const
{
    unzClose(archive);
}

ZipReader::ZipReader(std::unique_ptr<ZipInput> input)
    : m_input(std::move(input)), m_buffer(std::make_unique<char[]>(bufferSize))
{
    zlib_filefunc64_def functions = functionsOver(*m_input);
    m_archive.reset(unzOpen2_64("", &functions));
    unz_global_info64 info = {};
    if (m_archive && unzGetGlobalInfo64(m_archive.get(), &info) == UNZ_OK) {
        m_count = info.number_entry;
    }
}

tl::expected<ZipReader, QString> ZipReader::over(int file)
{
    auto input = ZipInput::over(file);
    if (!input) {
        return tl::unexpected(input.error());
    }
    ZipReader reader(std::move(*input));
    if (!reader.m_archive) {
        return tl::unexpected(QStringLiteral("the file is no whole zip archive"));
    }
    return reader;
}

std::optional<ZipEntry> ZipReader::next()
{
    const int moved =
        m_isAtStart ? unzGoToFirstFile(m_archive.get()) : unzGoToNextFile(m_archive.get());
    m_isAtStart = false;
    if (moved != UNZ_OK) {
        return std::nullopt;
    }
    const auto raw = rawEntry(m_archive.get());
    unz64_file_pos place = {};
    if (!raw || unzGetFilePos64(m_archive.get(), &place) != UNZ_OK) {
        return std::nullopt;
    }
    ZipEntry entry = entryOf(*raw);
    entry.place.directoryOffset = place.pos_in_zip_directory;
    entry.place.number = place.num_of_file;
    return entry;
}

ZipReader::Outcome ZipReader::read(const ZipPlace &place, const Take &take)
{
    const unz64_file_pos position = {place.directoryOffset, place.number};
    if (unzGoToFilePos64(m_archive.get(), &position) != UNZ_OK ||
        unzOpenCurrentFile(m_archive.get()) != UNZ_OK) {
        return Outcome::Damaged;
    }
    const Outcome outcome = readOpened(place, take);
    // The checksum is compared here, unless the entry is a wide one.
    const bool isSound = unzCloseCurrentFile(m_archive.get()) == UNZ_OK;
    return outcome == Outcome::Whole && !isSound ? Outcome::Damaged : outcome;
}

ZipReader::Outcome ZipReader::readOpened(const ZipPlace &place, const Take &take)
{
    uLong checksum = 0;
    quint64 left = place.size;
    while (left > 0) {
        const auto wanted = static_cast<unsigned>(std::min<quint64>(left, bufferSize));
        const int got = unzReadCurrentFile(m_archive.get(), m_buffer.get(), wanted);
        if (got <= 0) {
            return Outcome::Damaged;
        }
        const auto size = static_cast<unsigned>(got);
        if (place.isWide) {
            checksum = crc32(checksum, reinterpret_cast<const Bytef *>(m_buffer.get()), size);
        }
        if (!take(m_buffer.get(), size)) {
            return Outcome::Stopped;
        }
        left -= size;
    }
    const bool isAtEnd = place.isWide ? checksum == place.checksum
                                      : unzReadCurrentFile(m_archive.get(), m_buffer.get(), 1) == 0;
    return isAtEnd ? Outcome::Whole : Outcome::Damaged;
}

} // namespace qv
