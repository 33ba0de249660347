#include "analysis/other_streams.h"

#include "analysis/report_facts.h"
#include "support/numbers.h"

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <algorithm>

namespace qv
{
namespace
{

// Which decoders work for the stream that is shown, and which for the others.
struct Decoders {
    QSet<QString> shown;
    QSet<QString> others;
};

//   Stream #0:1(fre), 1, 1/1000: Audio: dts (dca), 44100 Hz, mono
Decoders decodersIn(const QString &report, int shown)
{
    static const QRegularExpression stream(
        QStringLiteral("^ +Stream #0:(\\d+)[^:]*: (?:Video|Audio|Subtitle|Data): (\\w+)"),
        QRegularExpression::MultilineOption);
    Decoders decoders;
    auto matches = stream.globalMatch(report);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const bool isShown = intValue(match.captured(1)) == shown;
        (isShown ? decoders.shown : decoders.others).insert(match.captured(2));
    }
    if (decoders.others.contains(QStringLiteral("dts"))) {
        decoders.others.insert(QStringLiteral("dca"));
    }
    return decoders;
}

// "mp3float" decodes "mp3".
bool isAmong(const QSet<QString> &codecs, const QString &decoder)
{
    return std::any_of(codecs.begin(), codecs.end(),
                       [&](const QString &codec) { return decoder.startsWith(codec); });
}

// [mov,mp4,m4a,3gp,3g2,mj2 @ 0x55] Could not find codec parameters for stream 1 (Audio: none, ...
// Error while decoding stream #0:1: Invalid data found when processing input
bool namesOther(const QString &line, int shown)
{
    static const QRegularExpression number(
        QStringLiteral("(?:codec parameters for|decoding) stream (?:#0:)?(\\d+)"));
    const QRegularExpressionMatch match = number.match(line);
    return match.hasMatch() && intValue(match.captured(1)) != shown;
}

// [mp3float @ 0x55d50f2889c0] Error while decoding MPEG audio frame.
bool isFromOther(const QString &line, const Decoders &decoders)
{
    static const QRegularExpression speaker(QStringLiteral("^\\[(\\w+) @ 0x"));
    const QRegularExpressionMatch match = speaker.match(line);
    return match.hasMatch() && isAmong(decoders.others, match.captured(1)) &&
           !isAmong(decoders.shown, match.captured(1));
}

} // namespace

QString withoutOtherStreams(const QString &report)
{
    const std::optional<int> shown = reportFacts(report).picked;
    if (!shown) {
        return report;
    }
    // A progress line ends in a carriage return, behind which the next line may stand.
    static const QRegularExpression lineEnd(QStringLiteral("[\\r\\n]"));
    const Decoders decoders = decodersIn(report, *shown);
    QStringList lines = report.split(lineEnd);
    lines.removeIf([&](const QString &line) {
        return namesOther(line, *shown) || isFromOther(line, decoders);
    });
    return lines.join(u'\n');
}

} // namespace qv
