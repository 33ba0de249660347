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

// Seconds before the claimed end at which the tail is looked at (tools/quick_thumbs/tail reads the
// same ones), and how far its end may be from the claim.
constexpr double tailLength = 2;
constexpr double tailTolerance = 3;

// A skipped frame still takes a few bytes, and one of a transport stream a packet.
constexpr double leastFrameBytes = 6;
constexpr double transportPacketBytes = 188;

// Frames a second that the container has; its nominal rate may be that of a clock.
double frameRate(const MediaInfoRecord &record, const DurationClues &clues)
{
    const double nominal = numberIn(record, QStringLiteral("v0_fps")).value_or(0);
    return clues.averageRate > 0 && nominal > 0 ? std::min(nominal, clues.averageRate) : nominal;
}

// Streams that can be copied without their parameters being known. A damaged source may have
// packets of sound that never were.
QStringList mappedSound(const MediaInfoRecord &record)
{
    const int mostStreams = record.contains(damageKey) ? 0 : 16;
    QStringList options;
    for (int i = 0; i < mostStreams && record.contains(streamKey("a", i, "id")); ++i) {
        const bool isKnown = intIn(record, streamKey("a", i, "rate")).value_or(0) > 0 &&
                             record.contains(streamKey("a", i, "codec"));
        if (isKnown) {
            options << QStringLiteral("-map")
                    << QStringLiteral("0:%1").arg(
                           intIn(record, streamKey("a", i, "id")).value_or(0));
        }
    }
    return options;
}

// Containers whose duration is worked out from their last time stamps or their size.
bool isFoundAtTheEnd(const MediaInfoRecord &record)
{
    static const QStringList wrappers{QStringLiteral("mpegts"),       QStringLiteral("mpeg"),
                                      QStringLiteral("ogg"),          QStringLiteral("dv"),
                                      QStringLiteral("yuv4mpegpipe"), QStringLiteral("mpegvideo")};
    return wrappers.contains(stringIn(record, QStringLiteral("wrapper")));
}

QString fromEndText(const MediaInfoRecord &record)
{
    const double from = std::max(0.0, std::floor(exactDuration(record) - tailLength));
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

double exactDuration(const MediaInfoRecord &record)
{
    return numberIn(record, exactDurationKey).value_or(numberIn(record, durationKey).value_or(0));
}

void setDuration(MediaInfoRecord &record, double seconds)
{
    record.insert(durationKey, durationValue(seconds));
    record.insert(exactDurationKey, seconds);
}

bool canCarry(const MediaInfoRecord &record, double seconds, const DurationClues &clues)
{
    const bool isTransport = stringIn(record, QStringLiteral("wrapper")) == QLatin1String("mpegts");
    const double frameBytes = isTransport ? transportPacketBytes : leastFrameBytes;
    const double fps = std::min(frameRate(record, clues), 60.0);
    return clues.bytes <= 0 || seconds * fps * frameBytes <= double(clues.bytes);
}

bool isTooShort(const MediaInfoRecord &record, double seconds, qint64 bytes)
{
    constexpr double mostBitsPerPixel = 8;
    return 8.0 * double(bytes) > seconds * pixelRate(record) * mostBitsPerPixel;
}

DurationCheck durationCheck(const MediaInfoRecord &record, const DurationClues &clues)
{
    const double seconds = exactDuration(record);
    if (seconds <= 0 || clues.isGuessed || !canCarry(record, seconds, clues) ||
        hasImpossibleClock(record, seconds, clues.bytes)) {
        return DurationCheck::Whole;
    }
    const bool isKnown = clues.isFromHead || (isFoundAtTheEnd(record) && !clues.isDamaged);
    return isKnown ? DurationCheck::None : DurationCheck::Tail;
}

QStringList durationArguments(DurationCheck check, const QString &sourcePath,
                              const MediaInfoRecord &record)
{
    // A transport stream's clock that jumps by more is taken to have started anew; a frame of a
    // screen recording may well stay for longer than the usual ten seconds.
    QStringList arguments{ffmpegPath(), QStringLiteral("-loglevel"), QStringLiteral("info"),
                          QStringLiteral("-dts_delta_threshold"), QStringLiteral("60")};
    if (check == DurationCheck::Tail) {
        arguments << QStringLiteral("-ss") << fromEndText(record);
    }
    // Without a cover, which stands at the start alone. The filter makes the progress that is
    // printed the latest end of all packets so far: in the order of decoding the last one need not
    // be the last one shown.
    arguments << QStringLiteral("-i") << sourcePath << QStringLiteral("-map")
              << QStringLiteral("0:V") << mappedSound(record) << QStringLiteral("-c")
              << QStringLiteral("copy") << QStringLiteral("-bsf:v")
              << QStringLiteral("setts=ts=max(max(PTS\\,DTS)+DURATION\\,PREV_OUTPTS)")
              << QStringLiteral("-f") << QStringLiteral("null") << QStringLiteral("-y")
              << QStringLiteral("/dev/null");
    return arguments;
}

std::optional<double> copiedSeconds(const QString &report)
{
    const QString last = lastProgressLine(report);
    return hasFrames(last) ? std::optional(signedTime(progressTime(last))) : std::nullopt;
}

bool endsAsClaimed(const MediaInfoRecord &record, std::optional<double> copied)
{
    const double looked = std::min(exactDuration(record), tailLength);
    return copied && *copied > -tailTolerance && *copied <= looked + tailTolerance;
}

bool endsWhereClaimed(const MediaInfoRecord &record, double end)
{
    return endsAsClaimed(record, end - std::max(0.0, exactDuration(record) - tailLength));
}

double settledDuration(const MediaInfoRecord &record, double measured, const DurationClues &clues)
{
    const double before = exactDuration(record);
    if (before >= measured && before - measured <= tailLength) {
        return before;
    }
    const double offset = numberIn(record, QStringLiteral("w_offset")).value_or(0);
    return clues.isWhole ? std::max(measured, before - std::max(0.0, offset)) : measured;
}

QVariant durationValue(double seconds)
{
    return seconds >= 1 ? QVariant(truncatedToInt(seconds)) : QVariant(static_cast<float>(seconds));
}

} // namespace qv
