#include "analysis/duration_check.h"

#include "analysis/report_text.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

const QString durationKey = QStringLiteral("w_duration");

// Seconds before the claimed end at which the tail is looked at, for a source with many frames in
// them (tools/quick_thumbs/tail reads the same ones), and how much longer than claimed it may be:
// reports round to whole seconds.
constexpr double usualTail = 2;
constexpr double tailTolerance = 3;
// The time of the last packet is its decoding time, which reordering puts frames earlier.
constexpr double framesInTail = 4;

// A skipped frame still takes a few bytes, and one of a transport stream a packet.
constexpr double leastFrameBytes = 6;
constexpr double transportPacketBytes = 188;

double claimed(const MediaInfoRecord &record)
{
    return numberIn(record, durationKey).value_or(0);
}

// Containers whose duration is worked out from their last time stamps or their size.
bool isFoundAtTheEnd(const MediaInfoRecord &record)
{
    static const QStringList wrappers{QStringLiteral("mpegts"),       QStringLiteral("mpeg"),
                                      QStringLiteral("ogg"),          QStringLiteral("dv"),
                                      QStringLiteral("yuv4mpegpipe"), QStringLiteral("mpegvideo")};
    return wrappers.contains(stringIn(record, QStringLiteral("wrapper")));
}

double tailLength(const MediaInfoRecord &record)
{
    const double fps = numberIn(record, QStringLiteral("v0_fps")).value_or(0);
    return fps > 0 ? std::max(usualTail, framesInTail / fps) : usualTail;
}

QString fromEndText(const MediaInfoRecord &record)
{
    const double from = std::max(0.0, std::floor(claimed(record) - tailLength(record)));
    return fixedText(from, 0);
}

// "-00:00:57.97": the sign is no part of the time code.
double signedTime(const QString &text)
{
    const bool isNegative = text.startsWith(u'-');
    const QString digits = isNegative ? text.mid(1) : text;
    const double seconds =
        double(digits.contains(u':') ? timecodeStr2Float(digits) : str2Float(digits));
    return isNegative ? -seconds : seconds;
}

// Pixels of a second; 0 when unknown.
double pixelRate(const MediaInfoRecord &record)
{
    return numberIn(record, QStringLiteral("v0_width")).value_or(0) *
           numberIn(record, QStringLiteral("v0_height")).value_or(0) *
           numberIn(record, QStringLiteral("v0_fps")).value_or(0);
}

// The last time stamp less the first, where the clock has started anew between them, as in joined
// recordings and the files of a DVD.
bool hasImpossibleClock(const MediaInfoRecord &record, double seconds, qint64 bytes)
{
    constexpr double leastBitsPerPixel = 0.02; // of MPEG-2
    static const QStringList streams{QStringLiteral("mpegts"), QStringLiteral("mpeg")};
    const QString wrapper = stringIn(record, QStringLiteral("wrapper"));
    const double pixels = seconds * pixelRate(record);
    if (!streams.contains(wrapper) || !(pixels > 0)) {
        return false;
    }
    const bool isTooLong = wrapper == QLatin1String("mpeg") && bytes > 0 &&
                           8.0 * double(bytes) < pixels * leastBitsPerPixel;
    return isTooLong || isTooShort(record, seconds, bytes);
}

bool hasFrames(const QString &line)
{
    return intValue(after(line, QLatin1String("frame="))) > 0;
}

} // namespace

bool canCarry(const MediaInfoRecord &record, double seconds, qint64 bytes)
{
    const bool isTransport = stringIn(record, QStringLiteral("wrapper")) == QLatin1String("mpegts");
    const double frameBytes = isTransport ? transportPacketBytes : leastFrameBytes;
    const double fps = numberIn(record, QStringLiteral("v0_fps")).value_or(0);
    return bytes <= 0 || seconds * std::min(fps, 60.0) * frameBytes <= double(bytes);
}

bool isTooShort(const MediaInfoRecord &record, double seconds, qint64 bytes)
{
    constexpr double mostBitsPerPixel = 8;
    return 8.0 * double(bytes) > seconds * pixelRate(record) * mostBitsPerPixel;
}

DurationCheck durationCheck(const MediaInfoRecord &record, const DurationClues &clues)
{
    const double seconds = claimed(record);
    if (seconds <= 0 || clues.isGuessed || !canCarry(record, seconds, clues.bytes) ||
        hasImpossibleClock(record, seconds, clues.bytes)) {
        return DurationCheck::Whole;
    }
    return clues.isFromHead || isFoundAtTheEnd(record) ? DurationCheck::None : DurationCheck::Tail;
}

QStringList durationArguments(DurationCheck check, const QString &sourcePath,
                              const MediaInfoRecord &record)
{
    QStringList arguments{ffmpegPath(), QStringLiteral("-loglevel"), QStringLiteral("info")};
    if (check == DurationCheck::Tail) {
        arguments << QStringLiteral("-ss") << fromEndText(record);
    }
    // Without a cover, which stands at the start alone.
    arguments << QStringLiteral("-i") << sourcePath << QStringLiteral("-map")
              << QStringLiteral("0:V") << QStringLiteral("-map") << QStringLiteral("0:a?")
              << QStringLiteral("-c") << QStringLiteral("copy") << QStringLiteral("-f")
              << QStringLiteral("null") << QStringLiteral("-y") << QStringLiteral("/dev/null");
    return arguments;
}

std::optional<double> copiedSeconds(const QString &report)
{
    const QString last = lastProgressLine(report);
    return hasFrames(last) ? std::optional(signedTime(progressTime(last))) : std::nullopt;
}

bool endsAsClaimed(const MediaInfoRecord &record, std::optional<double> copied)
{
    const double looked = std::min(claimed(record), tailLength(record));
    return copied && *copied > -tailTolerance && *copied <= looked + tailTolerance;
}

bool endsWhereClaimed(const MediaInfoRecord &record, double end)
{
    return endsAsClaimed(record, end - std::max(0.0, claimed(record) - tailLength(record)));
}

double settledDuration(const MediaInfoRecord &record, double measured)
{
    constexpr double longestFrame = 120;
    const double before = claimed(record);
    const double fps = numberIn(record, QStringLiteral("v0_fps")).value_or(0);
    const double lastFrame = fps > 0 ? std::min(1 / fps, longestFrame) : 0;
    const bool isTheSame =
        before > 0 && before >= measured && before - measured <= tailLength(record);
    return isTheSame ? before : measured + lastFrame;
}

QVariant durationValue(double seconds)
{
    return seconds >= 1 ? QVariant(truncatedToInt(seconds)) : QVariant(static_cast<float>(seconds));
}

} // namespace qv
