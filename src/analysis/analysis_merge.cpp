#include "analysis/analysis_merge.h"

#include "analysis/displayed_picture.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/mpeg_info_dico.h"
#include "analysis/report_facts.h"
#include "analysis/report_text.h"
#include "analysis/stream_offsets.h"
#include "support/clip_names.h"
#include "support/files.h"
#include "support/log.h"
#include "support/variant_values.h"

#include <QFileInfo>

namespace qv
{
namespace
{

const QString durationKey = QStringLiteral("w_duration");
const QString wrapperKey = QStringLiteral("wrapper");

// Streams without a container carry no duration; what a report says of theirs is a guess.
bool isElementary(const MediaInfoRecord &record)
{
    static const QStringList wrappers{QStringLiteral("mpegvideo"), QStringLiteral("h264"),
                                      QStringLiteral("hevc"),      QStringLiteral("m4v"),
                                      QStringLiteral("vc1"),       QStringLiteral("obu")};
    return wrappers.contains(stringIn(record, wrapperKey));
}

// A constant bit rate makes even a guess exact.
bool isGuessed(const MediaInfoRecord &record, const QString &report)
{
    return isElementary(record) ||
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

MediaInfoRecord mpegProbe(const Findings &findings, const MediaInfoRecord &reported)
{
    if (!mayBeMpeg(findings.sourcePath, reported)) {
        return {};
    }
    return mpeginfoFunction::mpegInfoDico(findings.sourcePath).value_or(MediaInfoRecord());
}

// Time codes of an edited stream may jump: what they tell must fit the bytes.
void dropAbsurdTimes(MediaInfoRecord &mpeg, qint64 bytes)
{
    const double seconds = numberIn(mpeg, durationKey).value_or(0);
    if (isTooShort(mpeg, seconds, bytes) || !canCarry(mpeg, seconds, bytes)) {
        mpeg.remove(durationKey);
    }
}

MediaInfoRecord recorderProbe(const QString &path)
{
    const float seconds = eyetvRecordedDuration(path);
    return seconds > 0 ? MediaInfoRecord{{durationKey, durationValue(double(seconds))}}
                       : MediaInfoRecord();
}

MediaInfoRecord frameProbe(const Findings &findings)
{
    MediaInfoRecord record = frameRecord(findings.frame);
    if (!findings.interlacingText.isNull()) {
        record.insert(QStringLiteral("v0_fields"), findings.interlacingText);
    }
    return record;
}

// The report's keys for the picture that is decoded, as it is displayed.
MediaInfoRecord reportProbe(const Findings &findings, const ReportFacts &facts)
{
    MediaInfoRecord record = findings.reported.value_or(MediaInfoRecord());
    settleVideoStreams(record, facts);
    turnPicture(record, facts, findings.frame);
    return record;
}

// The rate that a report gives for variable frame rates is the clock's ("1k tbr", "90k tbr").
void preferRealRate(MediaInfoRecord &reported, const MediaInfoRecord &frame)
{
    constexpr double mostApart = 4;
    constexpr double fastest = 20000; // of any camera
    const QString key = QStringLiteral("v0_fps");
    const double rate = numberIn(reported, key).value_or(0);
    const double decoded = numberIn(frame, key).value_or(0);
    const bool isFarOff = rate > decoded * mostApart || rate * mostApart < decoded;
    if (rate > fastest || (decoded > 0 && isFarOff)) {
        reported.remove(key);
    }
}

} // namespace

bool showsMovingPicture(const QString &report)
{
    const auto record = report.contains(inputMark) ? parseFfmpegReport(report) : std::nullopt;
    return record && hasMovingPicture(*record, reportFacts(report));
}

std::optional<Merged> analysisMerge(const Findings &findings, Road road)
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
    const MediaInfoRecord frame = frameProbe(findings);
    MediaInfoRecord mpeg = mpegProbe(findings, reported);
    dropAbsurdTimes(mpeg, bytes);
    preferRealRate(reported, frame);
    const bool guessed = isGuessed(reported, findings.report);
    if (guessed) {
        reported.remove(durationKey);
    }
    Merged merged;
    merged.record = mergeByTrust(
        {{Probe::Report, reported},
         {Probe::Frame, frame},
         {Probe::Mpeg, mpeg},
         {Probe::Recorder, recorderProbe(findings.sourcePath)},
         {Probe::Movie, findings.movie.value_or(MediaInfoRecord())},
         {Probe::Offsets, ptsDtsOffsetMs(findings.report).value_or(MediaInfoRecord())}},
        road);
    if (!findings.report.isEmpty() &&
        isFfmpegVsync(findings.sourcePath, findings.report, QString())) {
        merged.record.insert(QStringLiteral("v0_stutters"), 1);
    }
    merged.clues.bytes = bytes;
    merged.clues.isFromHead = mpeg.contains(durationKey);
    merged.clues.isGuessed = guessed && !merged.clues.isFromHead;
    return merged;
}

} // namespace qv
