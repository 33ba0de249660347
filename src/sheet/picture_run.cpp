#include "sheet/picture_run.h"

#include "sheet/picture_attempts.h"
#include "sheet/record_values.h"
#include "support/variant_values.h"

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

const QString inputOption = QStringLiteral("-i");
const QString teller = QStringLiteral("showinfo="); // without a name

const QString h264 = QStringLiteral("h264");
// Their intra frames come out as they do among the others.
constexpr std::array provenAlone{"hevc", "mpeg4", "mpeg2video", "mpeg1video", "vp8"};
// Their key pictures do when decoding begins with them.
constexpr std::array provenFirst{"vp9", "av1"};

template <std::size_t Count>
bool isOneOf(const std::array<const char *, Count> &names, const QString &codec)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const char *name) { return codec == QLatin1String(name); });
}

// Fields are taken apart with the help of the frames around, which would be others.
bool isEligible(const QVariantMap &record)
{
    return isProgressive(record) && seeksToKeyFrames(stringIn(record, QStringLiteral("wrapper")));
}

// Behind the input's path.
qsizetype inputEnd(const QStringList &arguments)
{
    const qsizetype input = arguments.indexOf(inputOption);
    return input < 0 ? -1 : std::min(input + 2, arguments.size());
}

} // namespace

QStringList insertedBeforeInput(QStringList arguments, const QStringList &options)
{
    const qsizetype input = arguments.indexOf(inputOption);
    for (qsizetype i = 0; input >= 0 && i < options.size(); ++i) {
        arguments.insert(input + i, options.at(i));
    }
    return arguments;
}

QStringList pictureRun(const std::vector<PictureShot> &shots,
                       const std::function<QString(int)> &tellerName)
{
    if (shots.size() == 1) {
        return shots.front().arguments;
    }
    // The inputs of such a run are read ahead, each by a thread.
    const QStringList shortQueue{QStringLiteral("-thread_queue_size"), QStringLiteral("1")};
    QStringList inputs;
    QStringList outputs;
    QStringList lastInput;
    int input = -1;
    for (int i = 0; const PictureShot &shot : shots) {
        const QStringList &arguments = shot.arguments;
        const qsizetype end = inputEnd(arguments);
        if (lastInput != arguments.mid(1, end - 1)) {
            lastInput = arguments.mid(1, end - 1);
            inputs += shortQueue + lastInput;
            ++input;
        }
        QStringList output = arguments.mid(end);
        if (const qsizetype filter = output.indexOf(QStringLiteral("-vf")) + 1; filter > 0) {
            output[filter].replace(teller, tellerName(i) + u'=');
        }
        outputs += QStringList{QStringLiteral("-map"), QStringLiteral("%1:V:0").arg(input),
                               QStringLiteral("-threads"), QStringLiteral("1")} +
                   output;
        ++i;
    }
    // Threads of filters and encoders, of which each picture has its own, cost more than they give.
    return shots.front().arguments.first(1) +
           QStringList{QStringLiteral("-filter_threads"), QStringLiteral("1")} + inputs + outputs;
}

IntraOnly intraOnlyDecoding(const QVariantMap &record)
{
    const QString codec = stringIn(record, QStringLiteral("v0_codec"));
    if (!isEligible(record)) {
        return IntraOnly::No;
    }
    return codec == h264                 ? IntraOnly::Tried
           : isOneOf(provenAlone, codec) ? IntraOnly::Yes
                                         : IntraOnly::No;
}

bool mayStartAtKeys(const QVariantMap &record, bool areClosed)
{
    const QString codec = stringIn(record, QStringLiteral("v0_codec"));
    const bool isKnown =
        codec == h264 ? areClosed : isOneOf(provenAlone, codec) || isOneOf(provenFirst, codec);
    return isEligible(record) && isKnown;
}

QStringList decodingIntraOnly(QStringList arguments)
{
    return insertedBeforeInput(std::move(arguments),
                               {QStringLiteral("-skip_frame"), QStringLiteral("nointra")});
}

QStringList decodingInOneThread(QStringList arguments)
{
    return insertedBeforeInput(std::move(arguments),
                               {QStringLiteral("-threads"), QStringLiteral("1")});
}

QStringList withoutLookingAtEnd(QStringList arguments, const QVariantMap &record)
{
    const QString wrapper = stringIn(record, QStringLiteral("wrapper"));
    const bool isStream = wrapper == QLatin1String("mpegts") || wrapper == QLatin1String("mpeg");
    return isStream ? insertedBeforeInput(
                          std::move(arguments),
                          {QStringLiteral("-skip_estimate_duration_from_pts"), QStringLiteral("1")})
                    : arguments;
}

QStringList withoutLookingAtStreams(QStringList arguments, const QVariantMap &record)
{
    const bool isMp4 =
        stringIn(record, QStringLiteral("wrapper")).startsWith(QLatin1String("mov,"));
    // Without reading on, ffmpeg takes zero for the source's start.
    const bool isAtZero = numberIn(record, QStringLiteral("w_offset")) == 0.0;
    return isMp4 && isAtZero
               ? insertedBeforeInput(std::move(arguments), {QStringLiteral("-nofind_stream_info")})
               : arguments;
}

bool isSmallToDecode(const QVariantMap &record)
{
    constexpr qint64 pixels = 640 * 360;
    return qint64{sourceWidth(record)} * sourceHeight(record) <= pixels;
}

bool hasOneVideo(const QVariantMap &record)
{
    return !record.contains(QStringLiteral("v1_codec"));
}

int mostPicturesPerRun(const QVariantMap &record)
{
    constexpr qint64 pixelsPerRun = 16'000'000;
    const qint64 pixels = qint64{sourceWidth(record)} * sourceHeight(record);
    return !hasOneVideo(record) || pixels <= 0
               ? 1
               : static_cast<int>(std::clamp<qint64>(pixelsPerRun / pixels, 1, 16));
}

} // namespace qv
