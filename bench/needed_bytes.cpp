#include "needed_bytes.h"

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace bench
{
namespace
{

struct Packet {
    double time = 0; // of presentation, seconds from the source's start
    qint64 size = 0;
    bool isKey = false;
};

QList<QByteArray> probed(const QString &source, const QStringList &question)
{
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-of"),
                            QStringLiteral("csv=p=0")} +
                    question + QStringList{source});
    probe.waitForFinished(-1);
    return probe.readAllStandardOutput().split('\n');
}

// In decoding order.
std::vector<Packet> videoPackets(const QString &source)
{
    const double start =
        probed(source, {QStringLiteral("-show_entries"), QStringLiteral("format=start_time")})
            .value(0)
            .trimmed()
            .toDouble();
    std::vector<Packet> packets;
    const QList<QByteArray> lines =
        probed(source, {QStringLiteral("-select_streams"), QStringLiteral("v:0"),
                        QStringLiteral("-show_entries"),
                        QStringLiteral("packet=pts_time,dts_time,size,flags")});
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.trimmed().split(',');
        if (fields.size() < 4) {
            continue;
        }
        const QByteArray &time = fields.at(0) == "N/A" ? fields.at(1) : fields.at(0);
        packets.push_back(
            {time.toDouble() - start, fields.at(2).toLongLong(), fields.at(3).startsWith('K')});
    }
    return packets;
}

qint64 bytesUpTo(const std::vector<Packet> &packets, double instant)
{
    const auto distance = [&](const Packet &packet) { return std::abs(packet.time - instant); };
    auto packet =
        std::min_element(packets.begin(), packets.end(), [&](const Packet &a, const Packet &b) {
            return distance(a) < distance(b);
        });
    qint64 bytes = packet->size;
    while (!packet->isKey && packet != packets.begin()) {
        --packet;
        bytes += packet->size;
    }
    return bytes;
}

// Of the box `moov` on the file's top level, with its header.
qint64 movieBoxSize(const QString &source)
{
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    qint64 place = 0;
    while (file.seek(place)) {
        const QByteArray header = file.read(16);
        if (header.size() < 8) {
            return 0;
        }
        qint64 size = qFromBigEndian<quint32>(header.constData());
        if (size == 1 && header.size() == 16) {
            size = qFromBigEndian<qint64>(header.constData() + 8);
        }
        if (header.mid(4, 4) == "moov") {
            return size;
        }
        if (size < 8) {
            return 0;
        }
        place += size;
    }
    return 0;
}

} // namespace

std::optional<NeededBytes> neededBytes(const QString &source, const std::vector<double> &shown)
{
    const std::vector<Packet> packets = videoPackets(source);
    if (packets.empty()) {
        return std::nullopt;
    }
    NeededBytes needed;
    for (const double instant : shown) {
        needed.pictures += bytesUpTo(packets, instant);
    }
    needed.index = movieBoxSize(source);
    return needed;
}

double keyPictureBytes(const QString &source)
{
    double bytes = 0;
    int count = 0;
    for (const Packet &packet : videoPackets(source)) {
        bytes += packet.isKey ? static_cast<double>(packet.size) : 0;
        count += packet.isKey ? 1 : 0;
    }
    return count == 0 ? 0 : bytes / count;
}

} // namespace bench
