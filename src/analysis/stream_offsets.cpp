#include "analysis/stream_offsets.h"

#include "analysis/report_text.h"
#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QMap>
#include <QStringList>

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

constexpr QLatin1String packetMark("av_read_packet stream=");
constexpr double noReference = -1.0;

struct Stream {
    double timeBase = 1000;      // ticks a second
    std::optional<double> first; // seconds, its first usable stamp of either kind
};

struct Kind {
    char letter;
    QMap<int, Stream> streams;
};

struct Tables {
    std::array<Kind, 3> kinds{{{'v', {}}, {'a', {}}, {'s', {}}}};

    Kind &video() { return kinds[0]; }
    Kind &audio() { return kinds[1]; }
    Kind &other() { return kinds[2]; }
};

QString from(const QString &text, QLatin1String marker)
{
    return text.mid(text.indexOf(marker) + marker.size());
}

// " -> " stands in the lines that map input to output, rawvideo is the output.
bool isStreamLine(const QString &line)
{
    return has(line, "Stream #") && !has(line, " -> ") && !has(line, "rawvideo");
}

// "1[0x1e0]" gives 1, "0(eng)" gives 0
int streamNumber(const QString &text)
{
    return intValue(text.contains(u'[') ? before(text, QLatin1String("[")) : text.left(1));
}

// " 1/90000: Video: mpeg2video" gives 90000
double timeBase(const QString &part)
{
    constexpr double milliseconds = 1000;
    if (!part.contains(u':')) {
        return milliseconds;
    }
    const QString fraction = before(part, QLatin1String(":"));
    const double ticks =
        fraction.contains(u'/') ? doubleValue(from(fraction, QLatin1String("/"))) : 0.0;
    return ticks == 0.0 ? milliseconds : ticks;
}

//   Stream #0:0[0x1e0], 25, 1/90000: Video: mpeg2video (Main), yuv420p, 720x576, 25 fps
void takeStream(Tables &tables, const QString &line)
{
    const QStringList parts = line.split(QStringLiteral(", "));
    const auto base = std::find_if(parts.begin() + 1, parts.end(),
                                   [](const QString &part) { return part.contains(u'/'); });
    if (!parts[0].contains(u':') || base == parts.end()) {
        return;
    }
    const int number = streamNumber(from(parts[0], QLatin1String(":")));
    Kind &kind = has(line, "Video:")   ? tables.video()
                 : has(line, "Audio:") ? tables.audio()
                                       : tables.other();
    kind.streams.insert(number, {timeBase(*base), std::nullopt});
}

// From the end, because of two lines about the same stream the first one counts.
Tables readStreams(const QStringList &lines)
{
    Tables tables;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (isStreamLine(*line)) {
            takeStream(tables, *line);
        }
    }
    return tables;
}

QStringList readPackets(const QStringList &lines)
{
    QStringList packets;
    for (const QString &line : lines) {
        if (line.contains(packetMark) && !isStreamLine(line)) {
            packets.append(from(line, packetMark));
        }
    }
    return packets;
}

Stream *findStream(Tables &tables, int number)
{
    for (Kind &kind : tables.kinds) {
        const auto found = kind.streams.find(number);
        if (found != kind.streams.end()) {
            return &*found;
        }
    }
    return nullptr;
}

// Ticks; nothing when the packet doesn't state them.
std::optional<double> stamp(const QString &packet, QLatin1String word)
{
    const QString text = packet.contains(word) ? from(packet, word) : QString();
    return has(text, ", ") ? std::optional(doubleValue(before(text, QLatin1String(", "))))
                           : std::nullopt;
}

// "0 pts=3600, dts=0, size=1234": a presentation stamp of 0 is none, a decoding stamp of 0 is one.
void takePacket(Stream &stream, const QString &packet)
{
    if (stream.first) {
        return;
    }
    const auto pts = stamp(packet, QLatin1String("pts="));
    const auto dts = stamp(packet, QLatin1String("dts="));
    if (pts && *pts > 0) {
        stream.first = *pts / stream.timeBase;
    } else if (dts && *dts >= 0) {
        stream.first = *dts / stream.timeBase;
    }
}

bool takePackets(Tables &tables, const QStringList &packets)
{
    for (const QString &packet : packets) {
        // One digit: streams beyond the ninth are not told apart.
        Stream *stream = findStream(tables, intValue(packet.left(1)));
        if (!stream) {
            logLine(QStringLiteral("pts/dts             :-( parse erreur, pas d'affectation sur "
                                   "chaque id (=>fin)"));
            return false;
        }
        takePacket(*stream, packet);
    }
    return true;
}

// Null when both are there.
QString whatIsMissing(Tables &tables, const QStringList &packets)
{
    if (packets.isEmpty()) {
        return QStringLiteral("ptsDtsOffsetMs      - fin :-( no pts");
    }
    if (tables.video().streams.isEmpty()) {
        return QStringLiteral("ptsDtsOffsetMs      - fin ;-) no video?");
    }
    if (tables.audio().streams.isEmpty()) {
        return QStringLiteral("ptsDtsOffsetMs      - fin ;-) no audio?");
    }
    return {};
}

// The smallest first stamp of all video.
double reference(const Kind &video)
{
    std::optional<double> smallest;
    for (const Stream &stream : video.streams) {
        if (stream.first) {
            smallest = std::min(smallest.value_or(*stream.first), *stream.first);
        }
    }
    return smallest.value_or(noReference);
}

// Stores the offsets worth it and gives the smallest of all, 0 when none is negative.
int storeOffsets(QVariantMap &offsets, const Kind &kind, double zero)
{
    constexpr qint64 tolerance = 30;
    int smallest = 0;
    for (auto it = kind.streams.begin(); it != kind.streams.end(); ++it) {
        if (!it->first) {
            continue;
        }
        const int offset = truncatedToInt((*it->first - zero) * 1000);
        logDebug([&] {
            return QString::asprintf("pts %c#%d, ecart      = %d ms", kind.letter, it.key(),
                                     offset);
        });
        if (qAbs(qint64{offset}) > tolerance) {
            offsets.insert(QString::asprintf("%c%d_offsetMs", kind.letter, it.key()), offset);
        }
        smallest = std::min(smallest, offset);
    }
    return smallest;
}

QVariantMap offsetsOf(Tables &tables)
{
    QVariantMap offsets;
    int smallest = 0;
    const double zero = reference(tables.video());
    if (zero > noReference) {
        for (const Kind &kind : tables.kinds) {
            smallest = std::min(smallest, storeOffsets(offsets, kind, zero));
        }
    }
    offsets.insert(QStringLiteral("v_offsetMs"), truncatedToInt(-double(smallest)));
    return offsets;
}

} // namespace

std::optional<QVariantMap> ptsDtsOffsetMs(const QString &report)
{
    if (!report.contains(packetMark)) {
        return std::nullopt;
    }
    const QStringList lines = linesOf(report);
    Tables tables = readStreams(lines);
    const QStringList packets = readPackets(lines);
    if (!takePackets(tables, packets)) {
        return std::nullopt;
    }
    const QString missing = whatIsMissing(tables, packets);
    if (!missing.isNull()) {
        logLine(missing);
        return std::nullopt;
    }
    const QVariantMap offsets = offsetsOf(tables);
    logDebug([] { return QStringLiteral("ffmpeg > ptsDtsOffsetMs - fin"); });
    return offsets;
}

} // namespace qv
