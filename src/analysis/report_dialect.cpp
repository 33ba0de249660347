#include "analysis/report_dialect.h"

#include "analysis/report_text.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

constexpr QLatin1String newPacket("ff_read_packet stream=");
constexpr QLatin1String oldPacket("av_read_packet stream=");
// The smallest 64-bit number stands for a time stamp that is not there.
constexpr QLatin1String noStamp("=-9223372036854775808");

QString packetLine(QString line)
{
    line.replace(newPacket, oldPacket);
    return line.replace(QLatin1String("=NOPTS"), noStamp);
}

QString showinfoLine(QString line)
{
    static const QRegularExpression filter(QStringLiteral("\\[Parsed_showinfo_\\d+ @"));
    return line.replace(filter, QStringLiteral("[showinfo @"));
}

bool isNewPart(const QString &part)
{
    static constexpr std::array words{" Closed Captions", " Film Grain", " lossless"};
    static const QRegularExpression references(QStringLiteral("^ \\d+ reference frames?( \\(|$)"));
    return std::find(words.begin(), words.end(), part) != words.end() ||
           references.match(part).hasMatch();
}

// " yuv420p(tv, bt709)" gives " yuv420p".
QString plainPixelFormat(const QString &part)
{
    static const QRegularExpression format(QStringLiteral("^ [a-z][a-z0-9_]*\\(.*\\)$"));
    return format.match(part).hasMatch() ? before(part, QLatin1String("(")) : part;
}

QString videoLine(const QString &line)
{
    QStringList kept;
    for (const QString &part : outerParts(line)) {
        if (!isNewPart(part)) {
            kept.append(plainPixelFormat(part));
        }
    }
    return kept.join(u',').replace(QLatin1String("Video: wrapped_avframe"),
                                   QLatin1String("Video: rawvideo"));
}

//   Could not find codec parameters for stream 2 (Subtitle: hdmv_pgs_subtitle): unspecified size
bool speaksOfOtherStreams(const QString &line)
{
    return has(line, "Could not find codec parameters for stream ") && !has(line, "(Video: ") &&
           !has(line, "(Audio: ");
}

// A broadcast that was switched on in the midst of a group gives them up to its first key picture.
//   [hevc @ 0x563c21ce1800] Error parsing NAL unit #1.
bool waitsForKeyPicture(const QString &line)
{
    return has(line, "[hevc @ ") &&
           (has(line, "Error parsing NAL unit") || has(line, "Error constructing the frame RPS"));
}

bool isNewComplaint(const QString &line)
{
    return speaksOfOtherStreams(line) || waitsForKeyPicture(line);
}

QString oldLine(const QString &line)
{
    if (line.contains(newPacket)) {
        return packetLine(line);
    }
    if (has(line, "[Parsed_showinfo_")) {
        return showinfoLine(line);
    }
    const bool isVideo = has(line, "Stream #") && has(line, "Video: ") && !has(line, " -> ");
    return isVideo ? videoLine(line) : line;
}

} // namespace

QString inOldWords(const QString &report)
{
    if (report.isNull()) {
        return report;
    }
    QStringList lines;
    for (const QString &line : report.split(u'\n')) {
        if (!isNewComplaint(line)) {
            lines.append(oldLine(line));
        }
    }
    return lines.join(u'\n');
}

} // namespace qv
