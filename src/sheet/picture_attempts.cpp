#include "sheet/picture_attempts.h"

#include "sheet/picture_run.h"
#include "support/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <vector>

namespace qv
{
namespace
{

// Has ffmpeg print the time of each frame that passes.
const QString teller = QStringLiteral("showinfo=checksum=0,");

constexpr double usualLength = 12; // seconds that a planned run looks at
constexpr double farthest = 3600;  // seconds to look back

const QString seekOption = QStringLiteral("-ss");
const QString lengthOption = QStringLiteral("-t");
const QString filterOption = QStringLiteral("-vf");

// The position of an option's value; -1 when the command lacks the option.
qsizetype valuePosition(const QStringList &arguments, const QString &option)
{
    const qsizetype at = arguments.indexOf(option);
    return at >= 0 && at + 1 < arguments.size() ? at + 1 : -1;
}

QStringList with(QStringList arguments, const QString &option, const QString &value)
{
    if (const qsizetype at = valuePosition(arguments, option); at >= 0) {
        arguments[at] = value;
    }
    return arguments;
}

QString plainFilter(const QStringList &arguments)
{
    const qsizetype at = valuePosition(arguments, filterOption);
    QString filter = at >= 0 ? arguments.at(at) : QString();
    return filter.remove(intraSelector());
}

bool isSparse(const AttemptClues &clues)
{
    return clues.fps > 0 && clues.fps < 1;
}

// The run over other seconds and with another selector.
QStringList run(const QStringList &planned, double from, double seconds, const QString &selector)
{
    QStringList arguments = with(planned, seekOption, fixedText(from, 2));
    arguments = with(arguments, lengthOption, QString::number(seconds));
    return with(arguments, filterOption, selector + teller + plainFilter(planned));
}

// Each frame replaces the one before in the picture file.
QStringList keepingLast(QStringList arguments)
{
    const qsizetype count = arguments.indexOf(QStringLiteral("-frames:v"));
    if (count >= 0 && count + 1 < arguments.size()) {
        arguments[count] = QStringLiteral("-update");
    }
    return arguments;
}

// An hour of other frames would take minutes.
QStringList decodingKeysOnly(QStringList arguments)
{
    return insertedBeforeInput(std::move(arguments),
                               {QStringLiteral("-skip_frame"), QStringLiteral("nokey")});
}

QStringList without(QStringList arguments, const QString &option)
{
    if (const qsizetype at = valuePosition(arguments, option); at > 0) {
        arguments.remove(at - 1, 2);
    }
    return arguments;
}

// Seeking by decoding: the option stands behind the source.
QStringList decodingUpTo(const QStringList &planned)
{
    QStringList arguments = with(planned, filterOption, plainFilter(planned));
    arguments = without(without(arguments, seekOption), lengthOption);
    if (const qsizetype source = valuePosition(arguments, QStringLiteral("-i")); source > 0) {
        arguments.insert(source + 1, fixedText(plannedInstant(planned), 2));
        arguments.insert(source + 1, seekOption);
    }
    return arguments;
}

// ---- ways to look for a picture

enum class Look {
    AnyFrame,           // at the instant
    HalfASecondEarlier, // any frame
    TwoSecondsEarlier,
    WithRunUp,        // the frame at the instant, decoded from half a minute before
    LastBefore,       // the last intra frame of the minute before
    Ahead,            // any frame of the minute after
    LastOfHourBefore, // key frames only: of one picture under a song
    FromTheStart,     // the frame at the instant, decoded from the start
    LastPicture,      // of the source
};

constexpr std::array seekingToKeys{Look::AnyFrame,          Look::HalfASecondEarlier,
                                   Look::TwoSecondsEarlier, Look::WithRunUp,
                                   Look::LastBefore,        Look::Ahead,
                                   Look::LastOfHourBefore};
// The first frames behind a seek may lack those that they build on.
constexpr std::array seekingAnywhere{
    Look::WithRunUp,  Look::AnyFrame, Look::HalfASecondEarlier, Look::TwoSecondsEarlier,
    Look::LastBefore, Look::Ahead,    Look::LastOfHourBefore};
constexpr std::array notSeeking{Look::FromTheStart};
constexpr std::array behindLast{Look::LastPicture, Look::LastBefore, Look::LastOfHourBefore};
constexpr std::array behindLastSeen{Look::LastOfHourBefore, Look::LastPicture, Look::Ahead};

std::span<const Look> looksFor(const QStringList &planned, const AttemptClues &clues)
{
    if (!clues.canSeek) {
        return notSeeking;
    }
    if (isBehindLast(planned, clues)) {
        return behindLast;
    }
    if (clues.lastSeen && plannedInstant(planned) > *clues.lastSeen) {
        return behindLastSeen;
    }
    return clues.seeksToKeys ? std::span<const Look>(seekingToKeys) : seekingAnywhere;
}

// Seconds that are looked through before and behind an instant: of a source with less than a frame
// a second a whole interval.
double reachOf(const AttemptClues &clues)
{
    constexpr double nearby = 60;
    return isSparse(clues) ? std::clamp(clues.interval, nearby, farthest) : nearby;
}

PictureAttempt anyFrameEarlier(const QStringList &planned, double seconds)
{
    const double from = std::max(0.0, plannedInstant(planned) - seconds);
    return {run(planned, from, usualLength, QString()), from, false};
}

PictureAttempt lastBefore(const QStringList &planned, const AttemptClues &clues)
{
    const double instant = plannedInstant(planned);
    const double from = std::max(0.0, instant - reachOf(clues));
    const QString selector = isSparse(clues) ? QString() : intraSelector();
    return {keepingLast(run(planned, from, instant - from, selector)), from, true};
}

// Nothing when the minute before reaches as far.
std::optional<PictureAttempt> lastOfHourBefore(const QStringList &planned,
                                               const AttemptClues &clues)
{
    const double instant = plannedInstant(planned);
    const double from = std::max(0.0, instant - farthest);
    if (from >= std::max(0.0, instant - reachOf(clues))) {
        return {};
    }
    return PictureAttempt{
        keepingLast(decodingKeysOnly(run(planned, from, instant - from, intraSelector()))), from,
        true};
}

PictureAttempt lastPicture(const QStringList &planned, double last)
{
    constexpr double someFrames = 0.25;
    const double from = std::max(0.0, last - someFrames);
    return {keepingLast(run(planned, from, usualLength, QString())), from, true};
}

// Nothing when it would be the planned run again, or another one's.
std::optional<PictureAttempt> attemptBy(Look look, const QStringList &planned,
                                        const AttemptClues &clues)
{
    constexpr double half = 0.5;
    constexpr double two = 2;
    const double instant = plannedInstant(planned);
    switch (look) {
    case Look::AnyFrame:
        return anyFrameAttempt(planned);
    case Look::HalfASecondEarlier:
        return anyFrameEarlier(planned, half);
    case Look::TwoSecondsEarlier:
        return anyFrameEarlier(planned, two);
    case Look::WithRunUp:
        return runUpAttempt(planned);
    case Look::LastBefore:
        return lastBefore(planned, clues);
    case Look::Ahead:
        return PictureAttempt{run(planned, instant, reachOf(clues), QString()), instant, false};
    case Look::LastOfHourBefore:
        return lastOfHourBefore(planned, clues);
    case Look::FromTheStart:
        return PictureAttempt{decodingUpTo(planned), instant, false};
    case Look::LastPicture:
        return lastPicture(planned, clues.last.value_or(clues.lastSeen.value_or(instant)));
    }
    return {};
}

std::vector<PictureAttempt> attempts(const QStringList &planned, const AttemptClues &clues)
{
    std::vector<PictureAttempt> list;
    for (const Look look : looksFor(planned, clues)) {
        if (const auto attempt = attemptBy(look, planned, clues)) {
            list.push_back(*attempt);
        }
    }
    return list;
}

} // namespace

bool seeksToKeyFrames(const QString &wrapper)
{
    static const QStringList others{QStringLiteral("mpegts"), QStringLiteral("mpeg"),
                                    QStringLiteral("ogg"),    QStringLiteral("mpegvideo"),
                                    QStringLiteral("h264"),   QStringLiteral("hevc")};
    return !others.contains(wrapper);
}

QString intraSelector()
{
    return QStringLiteral("select=eq(pict_type\\,I),");
}

double plannedInstant(const QStringList &plannedArguments)
{
    const qsizetype at = valuePosition(plannedArguments, seekOption);
    return at < 0 ? 0 : doubleValue(plannedArguments.at(at));
}

QStringList tellingInstant(const QStringList &plannedArguments)
{
    const qsizetype at = valuePosition(plannedArguments, filterOption);
    const bool selects = at >= 0 && plannedArguments.at(at).contains(intraSelector());
    return with(plannedArguments, filterOption,
                (selects ? intraSelector() : QString()) + teller + plainFilter(plannedArguments));
}

std::optional<PictureAttempt> nextAttempt(const QStringList &plannedArguments, int attempt,
                                          const AttemptClues &clues)
{
    if (valuePosition(plannedArguments, seekOption) < 0) {
        return {};
    }
    const std::vector<PictureAttempt> list = attempts(plannedArguments, clues);
    if (attempt < 1 || static_cast<std::size_t>(attempt) > list.size()) {
        return {};
    }
    return list[static_cast<std::size_t>(attempt) - 1];
}

int attemptCount(const QStringList &plannedArguments, const AttemptClues &clues)
{
    return static_cast<int>(attempts(plannedArguments, clues).size());
}

bool isBehindLast(const QStringList &plannedArguments, const AttemptClues &clues)
{
    constexpr double someFrames = 0.5;
    return clues.last && plannedInstant(plannedArguments) > *clues.last + someFrames;
}

PictureAttempt runUpAttempt(const QStringList &plannedArguments)
{
    const double instant = plannedInstant(plannedArguments);
    const double runUp = std::min(instant, longestRunUp);
    return {run(plannedArguments, instant - runUp, runUp + usualLength,
                QStringLiteral("select=gte(t\\,%1),").arg(runUp)),
            instant - runUp, false};
}

std::optional<PictureAttempt> anyFrameAttempt(const QStringList &plannedArguments)
{
    const qsizetype filter = valuePosition(plannedArguments, filterOption);
    if (filter < 0 || !plannedArguments.at(filter).contains(intraSelector())) {
        return {};
    }
    return PictureAttempt{
        with(plannedArguments, filterOption, teller + plainFilter(plannedArguments)),
        plannedInstant(plannedArguments), false};
}

PictureAttempt keyFrameAttempt(const QStringList &plannedArguments, double key, double length)
{
    // ffmpeg goes back by up to 0.13 s where frames are reordered.
    constexpr double wellBehind = 0.3;
    constexpr double hundredths = 100;
    const double seek =
        std::round((key + std::min(wellBehind, length / 2)) * hundredths) / hundredths;
    // Frames of negative times, as those before the seek's, would be dropped.
    const QStringList command =
        with(run(plannedArguments, seek, usualLength, QString()), filterOption,
             teller + QStringLiteral("setpts=PTS-STARTPTS,") + plainFilter(plannedArguments));
    return {insertedBeforeInput(command, {QStringLiteral("-noaccurate_seek")}), seek, false};
}

PictureAttempt anyFrameWithin(const QStringList &plannedArguments, double from, double until)
{
    constexpr double rounding = 0.0005; // of times in ffmpeg
    // Filters may look ahead. Frames would be filtered even after the picture has been written.
    const double ahead = std::max(0.0, plannedInstant(plannedArguments) - from - rounding);
    return {run(plannedArguments, from, until - from,
                QStringLiteral("select=gte(t\\,%1)*lt(selected_n\\,3),").arg(fixedText(ahead, 4))),
            from, false};
}

} // namespace qv
