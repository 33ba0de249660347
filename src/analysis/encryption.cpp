#include "analysis/encryption.h"

#include "analysis/movie_boxes.h"

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

// Looks for an encrypted sample description, with a bound on the boxes that it reads.
class SampleEntrySearch
{
public:
    explicit SampleEntrySearch(QFile &file) : m_file(file) {}

    bool findsEncrypted() { return searches(0, m_file.size(), 0); }

private:
    static bool isContainer(const QByteArray &type)
    {
        static constexpr std::array types{"moov", "trak", "mdia", "minf", "stbl"};
        return std::any_of(types.begin(), types.end(),
                           [&](const char *known) { return type == known; });
    }

    bool searches(qint64 from, qint64 to, int depth)
    {
        constexpr int deepest = 5;
        while (from < to && m_boxesLeft-- > 0) {
            const auto box = boxAt(m_file, from);
            if (!box || box->length > static_cast<quint64>(to - from)) {
                return false;
            }
            const qint64 end = from + static_cast<qint64>(box->length);
            const qint64 content = from + box->headerLength;
            if (box->type == "stsd" ? hasEncryptedEntry(content, end)
                                    : depth < deepest && isContainer(box->type) &&
                                          searches(content, end, depth + 1)) {
                return true;
            }
            from = end;
        }
        return false;
    }

    bool hasEncryptedEntry(qint64 content, qint64 end)
    {
        constexpr qint64 versionAndCount = 8;
        for (qint64 entry = content + versionAndCount; entry < end && m_boxesLeft-- > 0;) {
            const auto box = boxAt(m_file, entry);
            if (!box) {
                return false;
            }
            if (box->type == "encv") {
                return true;
            }
            entry += static_cast<qint64>(std::min(box->length, static_cast<quint64>(end - entry)));
        }
        return false;
    }

    QFile &m_file;
    int m_boxesLeft = 10000;
};

constexpr char syncByte = 0x47;
constexpr int packetLength = 188;

struct PacketGrid {
    qsizetype first = 0; // of the sync bytes
    int step = 0;        // bytes from one to the next: 188, or with a time stamp or a checksum
};

std::optional<PacketGrid> packetGrid(const QByteArray &bytes)
{
    constexpr int packetsInLine = 20;
    for (const int step : {packetLength, packetLength + 4, packetLength + 16}) {
        for (qsizetype first = 0; first < step; ++first) {
            int inLine = 0;
            while (inLine < packetsInLine && first + inLine * step < bytes.size() &&
                   bytes[first + inLine * step] == syncByte) {
                ++inLine;
            }
            if (inLine == packetsInLine) {
                return PacketGrid{first, step};
            }
        }
    }
    return std::nullopt;
}

struct PacketCount {
    int all = 0;
    int scrambled = 0;
};

// Those that may carry pictures or sound.
PacketCount countPackets(const QByteArray &bytes)
{
    constexpr int lastTable = 0x1F;
    constexpr int nullPacket = 0x1FFF;
    PacketCount count;
    const auto grid = packetGrid(bytes);
    for (qsizetype at = grid ? grid->first : bytes.size(); at + packetLength <= bytes.size();
         at += grid->step) {
        const auto byte = [&](int offset) { return static_cast<quint8>(bytes[at + offset]); };
        const int stream = (byte(1) & 0x1F) << 8 | byte(2);
        const bool hasPayload = (byte(3) & 0x10) != 0;
        if (bytes[at] == syncByte && stream > lastTable && stream < nullPacket && hasPayload) {
            ++count.all;
            count.scrambled += (byte(3) & 0xC0) != 0 ? 1 : 0;
        }
    }
    return count;
}

bool hasScrambledPackets(QFile &file)
{
    constexpr qint64 piece = 1 << 20;
    PacketCount sum;
    for (const qint64 position : {qint64{0}, file.size() / 2}) {
        const PacketCount count = countPackets(bytesAt(file, position, piece));
        sum.all += count.all;
        sum.scrambled += count.scrambled;
    }
    return sum.scrambled * 2 > sum.all;
}

} // namespace

bool isMarkedEncrypted(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) &&
           (SampleEntrySearch(file).findsEncrypted() || hasScrambledPackets(file));
}

} // namespace qv
