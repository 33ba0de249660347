#include "analysis/ffmpeg_probes.h"

#include "analysis/ffmpeg_report.h"
#include "analysis/report_text.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

QString runVsync(const QString &sourcePath, const QString &forcedFormat)
{
    QStringList arguments{ffmpegPath(), QStringLiteral("-loglevel"), QStringLiteral("info")};
    if (!forcedFormat.isEmpty()) {
        arguments << QStringLiteral("-f") << forcedFormat;
    }
    arguments << QStringLiteral("-i") << sourcePath << QStringLiteral("-vframes")
              << QStringLiteral("35") << QStringLiteral("-vf")
              << QStringLiteral("scale=320:240,format=yuv420p") << QStringLiteral("-an")
              << QStringLiteral("-f") << QStringLiteral("null") << QStringLiteral("-y")
              << QStringLiteral("/dev/null");
    return taskArray1PipeMax(arguments, ErrorText::Merged);
}

QString runCopyToNowhere(const QString &sourcePath)
{
    return taskArray1PipeMax({ffmpegPath(), QStringLiteral("-i"), sourcePath,
                              QStringLiteral("-c:v"), QStringLiteral("copy"), QStringLiteral("-an"),
                              QStringLiteral("-f"), QStringLiteral("null"), QStringLiteral("-y"),
                              QStringLiteral("/dev/null")},
                             ErrorText::Merged);
}

QString joined(const QList<float> &numbers)
{
    QStringList texts;
    for (const float number : numbers) {
        texts.append(QString::number(double(number)));
    }
    return texts.join(QStringLiteral(", "));
}

// "ffmpeg version 5.1.9-0+deb12u1 Copyright ..." gives "5.1000".
QString releaseRevision(const QString &lowered)
{
    const qsizetype start =
        lowered.indexOf(QLatin1String("ffmpeg version")) + QLatin1String("ffmpeg version").size();
    const QString line = before(lowered.mid(start), QLatin1String("\n"));
    return fixedText(double(str2Float(before(line, QLatin1String(",")))), 4);
}

// "version 0.6, built on ..." gives "60000".
QString bareRevision(const QString &lowered)
{
    const QString text = before(after(lowered, QLatin1String("version")), QLatin1String(","));
    const bool isBelowOne = intValue(text) < 1 && text.contains(u'.');
    return isBelowOne ? after(text, QLatin1String(".")) + QStringLiteral("0000") : text;
}

QString revisionText(const QString &versionText)
{
    const QString lowered = versionText.toLower();
    if (has(versionText, "git-N-")) {
        return before(after(versionText, QLatin1String("git-N-")), QLatin1String("-"));
    }
    if (has(lowered, "ffmpeg version")) {
        return releaseRevision(lowered);
    }
    return has(lowered, "version") ? bareRevision(lowered) : QString();
}

// [showinfo @ 0x5581] n:   0 pts:   3600 pts_time:0.04    fmt:yuv420p sar:1/1 iskey:1 type:I
bool isKeyFrameLine(const QString &line)
{
    return has(line, "[showinfo ") && has(line, " iskey:1 ") && has(line, " pts_time:");
}

QString presentationTime(const QString &line)
{
    return before(after(line, QLatin1String(" pts_time:")), QLatin1String(" "));
}

} // namespace

bool isFfmpegSuccess(const QString &report)
{
    // "occured" is ffmpeg's own spelling.
    static constexpr std::array phrases{"unknown format",
                                        "unsupported video codec",
                                        "could not find codec parameters",
                                        "operation not permitted",
                                        "error ",
                                        "i/o error occured",
                                        "error reading header:",
                                        "error while opening file"};
    const QString lowered = report.toLower();
    const bool isRefused = std::any_of(phrases.begin(), phrases.end(),
                                       [&](const char *phrase) { return has(lowered, phrase); });
    const bool isSuccess = !report.isEmpty() && !isRefused;
    logLine(isSuccess ? QStringLiteral("isFfmpegSuccess     :-)")
                      : QStringLiteral("isFfmpegSuccess     :-("));
    return isSuccess;
}

QString fieldOrderWord(const QString &code)
{
    QString key = QStringLiteral("PFF");
    if (code == QLatin1String("t")) {
        key = QStringLiteral("TFF");
    } else if (code == QLatin1String("b")) {
        key = QStringLiteral("BFF");
    }
    return localized(key, QStringLiteral("fields"));
}

bool isFfmpegVsync(const QString &sourcePath, const QString &report, const QString &forcedFormat)
{
    const QString text = report.isEmpty() ? runVsync(sourcePath, forcedFormat) : report;
    const bool stutters =
        has(text, "***") && has(text, "dup!") && has(text, "timestamp discontinuity");
    if (stutters) {
        logLine(QStringLiteral("isFfmpegVsync       ? 1"));
    }
    return stutters;
}

std::optional<float> chapterStart(const QString &line)
{
    // Chapter #0:1: start 300.000000, end 642.400000
    if (!has(line, "Chapter #") || !has(line, ": start ") || !has(line, ", end ")) {
        return std::nullopt;
    }
    return floatValue(before(after(line, QLatin1String(": start ")), QLatin1String(", end ")));
}

std::optional<QList<float>> ffChapters(const QString &report)
{
    QList<float> starts;
    QSet<float> known;
    for (const QString &line : linesOf(report)) {
        const auto start = chapterStart(line);
        if (start && !known.contains(*start)) {
            starts.append(*start);
            known.insert(*start);
        }
    }
    logLine(QStringLiteral("ffChapters          - fin : %1")
                .arg(starts.isEmpty() ? QStringLiteral("nil") : joined(starts)));
    return starts.isEmpty() ? std::nullopt : std::optional(starts);
}

int durationM2v(const QString &sourcePath)
{
    constexpr int unknown = 1;
    if (!fileExists(sourcePath)) {
        return unknown;
    }
    const QString time = progressTime(lastProgressLine(runCopyToNowhere(sourcePath)));
    if (time.isNull()) {
        return unknown;
    }
    const float seconds = time.contains(u':') ? timecodeStr2Float(time) : str2Float(time);
    return std::max(truncatedToInt(double(seconds)), unknown);
}

float ffRevision()
{
    return ffRevisionFromText(
        taskArray1PipeMax({ffmpegPath(), QStringLiteral("-version")}, ErrorText::Inherited));
}

float ffRevisionFromText(const QString &versionText)
{
    const QString text = revisionText(versionText);
    const float revision = floatValue(text);
    logLine(QStringLiteral("FFmpeg version      : %1 -> %2")
                .arg(text, QString::number(truncatedToInt(double(revision)))));
    return revision;
}

float keyFrameStartTime(const QString &report)
{
    QStringList times;
    for (const QString &line : linesOf(report)) {
        if (isKeyFrameLine(line)) {
            times.append(presentationTime(line));
        }
    }
    // The smallest as text, "10.0" before "9.96": offsets stored so far were chosen that way.
    const auto first =
        std::min_element(times.begin(), times.end(), [](const QString &a, const QString &b) {
            return a.compare(b, Qt::CaseInsensitive) < 0;
        });
    return first == times.end() ? 0.0F : floatValue(*first);
}

std::optional<MediaInfoRecord> analysisFf(const QString &report, const QString &interlacingText)
{
    logLine(QStringLiteral("analysisFf          - deb"));
    if (report.isNull()) {
        return std::nullopt;
    }
    std::optional<MediaInfoRecord> record = ffInfos(QString(), report);
    if (record && interlacingText.isNull() && record->contains(streamKey("v", 0, "fps"))) {
        return std::nullopt;
    }
    if (record) {
        const float offset = keyFrameStartTime(report);
        if (offset > 0.0F) {
            record->insert(QStringLiteral("intraOffset"), offset);
        }
        if (const auto chapters = ffChapters(report)) {
            QVariantList starts(chapters->begin(), chapters->end());
            record->insert(QStringLiteral("chapters"), starts);
        }
    }
    logLine(QStringLiteral("analysisFf          - fin"));
    return record;
}

QString interlaceMark(const QByteArray &firstBytes)
{
    // YUV4MPEG2 W720 H576 F25:1 It A16:15 C420mpeg2
    const QByteArray line = firstBytes.split('\n').first();
    const qsizetype mark = line.indexOf(" I") + 2;
    return mark < 2 || mark >= line.size() ? QString() : QString(QLatin1Char(line[mark]));
}

QStringList mpegElementaryExtensions()
{
    return {QStringLiteral("m2v"), QStringLiteral("mpv"), QStringLiteral("m1v")};
}

QStringList mpegProgramExtensions()
{
    return {QStringLiteral("mpg"), QStringLiteral("mpeg"), QStringLiteral("mod"),
            QStringLiteral("ts"),  QStringLiteral("vob"),  QStringLiteral("tod"),
            QStringLiteral("vro")};
}

QStringList kindDependentWords(const QString &kind)
{
    const bool isA = kind.toUpper() == QLatin1String("A");
    return {isA ? QStringLiteral("dv") : QStringLiteral("ffts"), QStringLiteral("mov"),
            QStringLiteral("3ivx"), QStringLiteral("unsupportedVideoCodecFfmpeg")};
}

} // namespace qv
