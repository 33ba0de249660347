#include "analysis/analysis_merge.h"

#include "analysis/displayed_picture.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/mpeg_info_dico.h"
#include "analysis/report_facts.h"
#include "analysis/report_text.h"
#include "analysis/stream_offsets.h"
#include "analysis/whole_container.h"
#include "support/clip_names.h"
#include "support/files.h"
#include "support/log.h"
#include "support/variant_values.h"

#include <QFileInfo>

#include <cmath>

namespace qv
{
namespace
{

const QString durationKey = QStringLiteral("w_duration");
const QString fpsKey = QStringLiteral("v0_fps");
const QString wrapperKey = QStringLiteral("wrapper");

// Streams without a container carry no duration; what a report says of theirs is a guess.
bool isElementary(const MediaInfoRecord &record)
{
    static const QStringList wrappers{QStringLiteral("mpegvideo"), QStringLiteral("h264"),
                                      QStringLiteral("hevc"),      QStringLiteral("m4v"),
                                      QStringLiteral("vc1"),       QStringLiteral("obu")};
    return wrappers.contains(stringIn(record, wrapperKey));
}

// A constant bit rate makes even a guess exact. Without the time scale of its header, the duration
// of a movie file is some other unit's.
bool isGuessed(const MediaInfoRecord &record, const QString &report)
{
    return isElementary(record) || report.contains(QLatin1String("Invalid mvhd time scale")) ||
           (report.contains(QLatin1String("Estimating duration from bitrate")) &&
            stringIn(record, wrapperKey) != QLatin1String("dv"));
}

bool mayBeMpeg(const QString &path, const MediaInfoRecord &record)
{
    const QString extension = pathExtension(path).toLower();
    const QString wrapper = stringIn(record, wrapperKey);
    return wrapper == QLatin1String("mpegvideo") || wrapper == QLatin1String("mpeg") ||
           (wrapper.isEmpty() && (mpegElementaryExtensions().contains(extension) ||
                                  mpegProgramExtensions().contains(extension)));
}

void dropDuration(MediaInfoRecord &record)
{
    record.remove(durationKey);
    record.remove(exactDurationKey);
}

MediaInfoRecord mpegProbe(const Findings &findings, const MediaInfoRecord &reported)
{
    if (!mayBeMpeg(findings.sourcePath, reported)) {
        return {};
    }
    MediaInfoRecord record =
        mpeginfoFunction::mpegInfoDico(findings.sourcePath).value_or(MediaInfoRecord());
    if (record.contains(durationKey)) {
        record.insert(exactDurationKey, record.value(durationKey).toDouble());
    }
    return record;
}

// Time codes of an edited stream may jump: what they tell must fit the bytes.
void dropAbsurdTimes(MediaInfoRecord &mpeg, qint64 bytes)
{
    const double seconds = numberIn(mpeg, durationKey).value_or(0);
    if (isTooShort(mpeg, seconds, bytes) || !canCarry(mpeg, seconds, {bytes})) {
        dropDuration(mpeg);
    }
}

MediaInfoRecord recorderProbe(const QString &path)
{
    MediaInfoRecord record;
    if (const float seconds = eyetvRecordedDuration(path); seconds > 0) {
        setDuration(record, double(seconds));
    }
    return record;
}

StreamDetails detailsOf(const MediaInfoRecord &record, const ReportDetails &details)
{
    return details.streams.value(intIn(record, QStringLiteral("v0_id")).value_or(-1));
}

// A decoder takes a frame whose order is not flagged for bottom first, that of H.264 also for top
// first by the order of counts that some encoders get wrong. Then the order that the headers state
// counts.
QString fieldOrder(const Findings &findings, const MediaInfoRecord &reported)
{
    const QString codec = stringIn(reported, QStringLiteral("v0_codec"));
    const QString stated = detailsOf(reported, findings.details).fieldOrder;
    const QString seen = findings.frame.mark;
    const bool isAssumed = codec == QLatin1String("h264") ||
                           (seen == QLatin1String("b") && (codec == QLatin1String("mpeg2video") ||
                                                           codec == QLatin1String("mpeg4")));
    const bool isInterlaced = seen == QLatin1String("t") || seen == QLatin1String("b");
    return isInterlaced && isAssumed && !stated.isEmpty() ? stated : seen;
}

MediaInfoRecord frameProbe(const Findings &findings, const MediaInfoRecord &reported)
{
    MediaInfoRecord record = frameRecord(findings.frame);
    if (!findings.interlacingText.isNull()) {
        const QString order = fieldOrder(findings, reported);
        record.insert(QStringLiteral("v0_fields"), order == findings.frame.mark
                                                       ? findings.interlacingText
                                                       : fieldOrderWord(order));
    }
    return record;
}

// The report's keys for the picture that is decoded, as it is displayed.
MediaInfoRecord reportProbe(const Findings &findings, const ReportFacts &facts)
{
    MediaInfoRecord record = findings.reported.value_or(MediaInfoRecord());
    if (findings.details.duration) {
        record.insert(exactDurationKey, *findings.details.duration);
    }
    settleVideoStreams(record, facts);
    turnPicture(record, facts, findings.frame);
    return record;
}

// A report gives the clock's rate for variable frame rates ("1k tbr", "90k tbr"), and the fields'
// where the two fields of a frame are coded one after the other ("25 fps, 50 tbr").
void preferRealRate(MediaInfoRecord &reported, const MediaInfoRecord &frame)
{
    constexpr double mostApart = 4;
    constexpr double fastest = 20000; // of any camera
    const double rate = numberIn(reported, fpsKey).value_or(0);
    const double decoded = numberIn(frame, fpsKey).value_or(0);
    const bool isFarOff = rate > decoded * mostApart || rate * mostApart < decoded;
    const bool isOfFields = std::abs(rate / 2 - decoded) < 0.01 * decoded;
    if (rate > fastest || (decoded > 0 && (isFarOff || isOfFields))) {
        reported.remove(fpsKey);
    }
}

// A report's whole seconds are none for a source that is shorter than one.
void fillShortDuration(MediaInfoRecord &record)
{
    const double seconds = exactDuration(record);
    if (!record.contains(durationKey) && seconds > 0) {
        setDuration(record, seconds);
    }
}

// MPEG-1 and MPEG-2 headers mark a variable bit rate by the highest one that they can state, which
// reports repeat.
void dropVariableRates(MediaInfoRecord &record)
{
    constexpr int mark = 0x3FFFF * 400 / 1000; // kb/s
    for (int i = 0; record.contains(streamKey("v", i, "codec")); ++i) {
        const QString codec = stringIn(record, streamKey("v", i, "codec"));
        if (codec == QLatin1String("mpeg1video") || codec == QLatin1String("mpeg2video")) {
            for (const QString &key : {streamKey("v", i, "bitrate"), QStringLiteral("w_bitrate")}) {
                if (intIn(record, key) == mark) {
                    record.remove(key);
                }
            }
        }
    }
}

void addFileSize(MediaInfoRecord &record, qint64 bytes)
{
    if (bytes > 0) {
        record.insert(QStringLiteral("w_bytes"), bytes);
    }
}

} // namespace

bool showsMovingPicture(const QString &report)
{
    const auto record = report.contains(inputMark) ? parseFfmpegReport(report) : std::nullopt;
    return record && hasMovingPicture(*record, reportFacts(report));
}

std::optional<Merged> analysisMerge(const Findings &findings)
{
    if (!findings.reported && !findings.movie) {
        return std::nullopt;
    }
    const ReportFacts facts = reportFacts(findings.report);
    if (!findings.movie && !hasMovingPicture(*findings.reported, facts)) {
        return std::nullopt;
    }
    const qint64 bytes = QFileInfo(findings.sourcePath).size();
    MediaInfoRecord reported = reportProbe(findings, facts);
    const MediaInfoRecord frame = frameProbe(findings, reported);
    MediaInfoRecord mpeg = mpegProbe(findings, reported);
    dropAbsurdTimes(mpeg, bytes);
    preferRealRate(reported, frame);
    const bool guessed = isGuessed(reported, findings.report);
    if (guessed) {
        dropDuration(reported);
    }
    Merged merged;
    merged.record = mergeByTrust(
        {{Probe::Report, reported},
         {Probe::Frame, frame},
         {Probe::Mpeg, mpeg},
         {Probe::Recorder, recorderProbe(findings.sourcePath)},
         {Probe::Movie, findings.movie.value_or(MediaInfoRecord())},
         {Probe::Offsets, ptsDtsOffsetMs(findings.report).value_or(MediaInfoRecord())}});
    if (!findings.report.isEmpty() &&
        isFfmpegVsync(findings.sourcePath, findings.report, QString())) {
        merged.record.insert(QStringLiteral("v0_stutters"), 1);
    }
    fillShortDuration(merged.record);
    dropVariableRates(merged.record);
    addDetails(merged.record, findings.details);
    addFileSize(merged.record, bytes);
    merged.clues.bytes = bytes;
    merged.clues.isWhole = holdsAllItsBytes(findings.sourcePath);
    merged.clues.averageRate = detailsOf(reported, findings.details).averageRate;
    merged.clues.isFromHead = mpeg.contains(durationKey);
    merged.clues.isGuessed = guessed && !merged.clues.isFromHead;
    return merged;
}

} // namespace qv
