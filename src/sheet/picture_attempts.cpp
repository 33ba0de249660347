#include "sheet/picture_attempts.h"

#include "support/numbers.h"

#include <algorithm>
#include <vector>

namespace qv
{
namespace
{

// Has ffmpeg print the time of each frame that passes.
const QString teller = QStringLiteral("showinfo=checksum=0,");

constexpr double usualLength = 12; // seconds that a planned run looks at

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
    const qsizetype source = std::max<qsizetype>(0, arguments.indexOf(QStringLiteral("-i")));
    arguments.insert(source, QStringLiteral("nokey"));
    arguments.insert(source, QStringLiteral("-skip_frame"));
    return arguments;
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

std::vector<PictureAttempt> attempts(const QStringList &planned, const AttemptClues &clues)
{
    constexpr double slightlyEarlier = 0.5;
    constexpr double muchEarlier = 2;
    constexpr double nearby = 60;
    constexpr double farthest = 3600;

    const double instant = plannedInstant(planned);
    if (!clues.canSeek) {
        return {{decodingUpTo(planned), instant, false}};
    }
    const bool isSparse = clues.fps > 0 && clues.fps < 1;
    const double reach = isSparse ? std::clamp(clues.interval, nearby, farthest) : nearby;
    const double reachedBack = std::max(0.0, instant - reach);

    std::vector<PictureAttempt> list;
    if (const auto any = anyFrameAttempt(planned)) {
        list.push_back(*any);
    }
    for (const double earlier : {slightlyEarlier, muchEarlier}) {
        const double from = std::max(0.0, instant - earlier);
        list.push_back({run(planned, from, usualLength, QString()), from, false});
    }
    list.insert(clues.seeksToKeys ? list.end() : list.begin(), runUpAttempt(planned));
    list.push_back({keepingLast(run(planned, reachedBack, instant - reachedBack,
                                    isSparse ? QString() : intraSelector())),
                    reachedBack, true});
    list.push_back({run(planned, instant, reach, QString()), instant, false});
    if (const double from = std::max(0.0, instant - farthest); from < reachedBack) {
        list.push_back(
            {keepingLast(decodingKeysOnly(run(planned, from, instant - from, intraSelector()))),
             from, true});
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

PictureAttempt runUpAttempt(const QStringList &plannedArguments)
{
    constexpr double longestRunUp = 30;
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

} // namespace qv
