#include "sheet/extraction_plan.h"

#include "sheet/caption_texts.h"
#include "sheet/picture_attempts.h"
#include "sheet/record_values.h"
#include "sheet/stills_folder.h"
#include "support/bundle.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace qv
{

namespace
{

constexpr int unknownCount = 16;
constexpr int largestCount = 10000;

// The very start of a long video is often black.
constexpr double longInterval = 40;
constexpr double firstInstantOfLong = 10;
constexpr double firstInstantShare = 0.25;

const QString workingKey = QStringLiteral("processEncDico");

// What all the runs of one source share.
struct Source {
    QString path;
    QString stillsFolder;
    QString filter;
    QString tool;
    double seconds = 0; // its duration
    double fps = 0;     // 0: unknown
};

int requestedCount(const QVariantMap &input)
{
    const int requested = intIn(input, QStringLiteral("thNumberInt")).value_or(unknownCount);
    return std::min(requested, largestCount);
}

StillSize sizeOf(const QVariantMap &input)
{
    return stillSize(sourceWidth(input), sourceHeight(input),
                     stringIn(input, QStringLiteral("v0_dar")));
}

// "select=eq(pict_type\,I),yadif=1,scale=1024:576,setsar=1:1"
QString videoFilter(const QVariantMap &input, const StillSize &size)
{
    const bool anyPicture = flagIn(input, QStringLiteral("intraFailure"));
    return QStringLiteral("%1%2scale=%3:%4,setsar=1:1")
        .arg(anyPicture ? QString() : intraSelector(),
             isProgressive(input) ? QString() : QStringLiteral("yadif=1,"),
             QString::number(size.width), QString::number(size.height));
}

// Whole seconds, but for a source that has none.
double plannedSeconds(const QVariantMap &input)
{
    const double exact = numberIn(input, QStringLiteral("w_duration")).value_or(0);
    return isShort(exact) ? exact : sourceDuration(input);
}

double instantOf(int index, double interval)
{
    if (index > 0) {
        return index * interval;
    }
    return interval > longInterval ? firstInstantOfLong : interval * firstInstantShare;
}

// Where a source is too short for whole seconds, the instants are those at which a frame begins: a
// seek into the last frame would find none behind it.
double frameBegin(double instant, double fps)
{
    constexpr double rounding = 0.001; // of a frame
    return fps > 0 ? std::floor(instant * fps + rounding) / fps : instant;
}

// To the hundredth. For a short source in milliseconds and not rounded up, because a seek takes no
// earlier frame.
QString seekText(const Source &source, double instant)
{
    constexpr double milli = 1000;
    return isShort(source.seconds) ? fixedText(std::floor(instant * milli + 0.001) / milli, 3)
                                   : fixedText(instant, 2);
}

QStringList toolArguments(const Source &source, double instant, int index)
{
    return {source.tool,
            QStringLiteral("-ss"),
            seekText(source, instant),
            QStringLiteral("-t"),
            QStringLiteral("12"),
            QStringLiteral("-loglevel"),
            QStringLiteral("info"),
            QStringLiteral("-i"),
            source.path,
            QStringLiteral("-frames:v"),
            QStringLiteral("1"),
            QStringLiteral("-vf"),
            source.filter,
            QStringLiteral("-b:v"),
            QStringLiteral("20M"),
            QStringLiteral("-bt"),
            QStringLiteral("1000M"),
            QStringLiteral("-qscale"),
            QStringLiteral("1"),
            QStringLiteral("-an"),
            QStringLiteral("-y"),
            pictureFile(source.stillsFolder, index)};
}

PlannedPicture plannedPicture(const ExtractionPlan &plan, const Source &source, int index)
{
    PlannedPicture picture;
    picture.index = index;
    picture.time = instantOf(index, plan.interval);
    if (isShort(source.seconds)) {
        picture.time = frameBegin(picture.time, source.fps);
    }
    picture.timecode = stampText(picture.time, source.seconds);
    if (!plan.inOneRun) {
        picture.arguments = toolArguments(source, picture.time, index);
    }
    return picture;
}

QString shownMap(const QVariantMap &map)
{
    return QString::fromUtf8(QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact));
}

void tracePlan(const ExtractionPlan &plan)
{
    logDebug(
        [&] { return QStringLiteral("intervaleFloat : %1").arg(fixedText(plan.interval, 6)); });
    if (isVerboseDebug() && !plan.inOneRun) {
        for (const PlannedPicture &picture : plan.pictures) {
            logLine(QStringLiteral("argsArray pass #%1/%2: %3")
                        .arg(QString::number(picture.index), QString::number(plan.count),
                             picture.arguments.join(QLatin1Char(' '))));
        }
    }
}

QVariantMap commandsOf(const ExtractionPlan &plan)
{
    QVariantMap commands;
    for (const PlannedPicture &picture : plan.pictures) {
        if (!picture.arguments.isEmpty()) {
            commands.insert(QString::number(picture.index), picture.arguments);
        }
    }
    return commands;
}

QVariantMap timecodesOf(const ExtractionPlan &plan)
{
    QVariantMap timecodes;
    for (const PlannedPicture &picture : plan.pictures) {
        if (!picture.timecode.isNull()) {
            timecodes.insert(QString::number(picture.index), picture.timecode);
        }
    }
    return timecodes;
}

QVariantMap displayOf(const ExtractionPlan &plan, const QVariantMap &input)
{
    QVariantMap display = captionTexts(input);
    display.insert(QStringLiteral("wTh"), plan.size.width);
    display.insert(QStringLiteral("hTh"), plan.size.height);
    const QVariantMap timecodes = timecodesOf(plan);
    logDebug([&] { return QStringLiteral("tcMd : %1").arg(shownMap(timecodes)); });
    if (!timecodes.isEmpty()) {
        display.insert(QStringLiteral("timecode"), timecodes);
    }
    logDebug([&] { return QStringLiteral("md   : %1").arg(shownMap(display)); });
    return display;
}

void storePlan(const ExtractionPlan &plan, const QVariantMap &input, PreferencesStore &store)
{
    const QVariantMap commands = commandsOf(plan);
    if (!commands.isEmpty()) {
        store.prefWriteChildDico(workingKey, QStringLiteral("appkyThFf"), commands);
    }
    if (plan.inOneRun && plan.count > 0) {
        store.prefWriteChildDico(workingKey, QStringLiteral("appkyThQt"), 1);
    }
    store.prefWriteChildDico(workingKey, QStringLiteral("appkyDisplay"), displayOf(plan, input));
}

} // namespace

ExtractionPlan planExtraction(int out, const QVariantMap &input)
{
    const SheetLayout layout = sheetLayout(out);
    ExtractionPlan plan;
    plan.columns = columnsOf(layout);
    plan.count = wholeRowsCount(layout, requestedCount(input));
    plan.size = sizeOf(input);
    const double seconds = plannedSeconds(input);
    plan.interval = plan.count > 0 ? seconds / plan.count : 0;
    plan.inOneRun =
        flagIn(input, QStringLiteral("decSkip")) || flagIn(input, QStringLiteral("quick"));

    const Source source{stringIn(input, QStringLiteral("srcPathStr")),
                        stringIn(input, QStringLiteral("dstPathStr")),
                        videoFilter(input, plan.size),
                        Bundle::main().toolPath(QStringLiteral("ffmpeg")),
                        seconds,
                        numberIn(input, QStringLiteral("v0_fps")).value_or(0)};
    plan.pictures.reserve(static_cast<std::size_t>(plan.count));
    for (int i = 0; i < plan.count; ++i) {
        plan.pictures.push_back(plannedPicture(plan, source, i));
    }
    return plan;
}

int encodage(int out, const QString &versionText, const QVariantMap &input, PreferencesStore &store)
{
    logLine(QStringLiteral("encodage            - deb"));
    logDebug([&] { return QStringLiteral("version             : %1").arg(versionText); });
    logDebug([&] { return QStringLiteral("dico : %1").arg(shownMap(input)); });
    logDebug([&] {
        return QStringLiteral("outInt              : %1 -> %2 thumbs")
            .arg(out)
            .arg(requestedCount(input));
    });
    const auto prepared = prepareStillsFolder(stringIn(input, QStringLiteral("dstPathStr")),
                                              stringIn(input, QStringLiteral("stillsMark")));
    if (!prepared) {
        logLine(QStringLiteral("encodage            :-( %1").arg(prepared.error()));
        return 0;
    }
    const ExtractionPlan plan = planExtraction(out, input);
    tracePlan(plan);
    storePlan(plan, input, store);
    return 0;
}

QString stampText(double instant, double sourceSeconds)
{
    return float2TimecodeStr(instant, isShort(sourceSeconds) ? 2 : 0);
}

QStringList stampTexts(const QList<double> &instants, double sourceSeconds)
{
    constexpr int mostDecimals = 2;
    const int fewestDecimals = isShort(sourceSeconds) ? mostDecimals : 0;
    QStringList stamps;
    for (int decimals = fewestDecimals; decimals <= mostDecimals; ++decimals) {
        stamps.clear();
        for (const double instant : instants) {
            stamps.append(float2TimecodeStr(instant, decimals));
        }
        if (std::adjacent_find(stamps.begin(), stamps.end()) == stamps.end()) {
            break;
        }
    }
    return stamps;
}

QString pictureFile(const QString &stillsFolder, int index)
{
    return QStringLiteral("%1/img%2.jpg")
        .arg(stillsFolder, QStringLiteral("%1").arg(index, 2, 10, QLatin1Char('0')));
}

bool hasPicture(const QString &file)
{
    return QFileInfo(file).size() > 0;
}

} // namespace qv
