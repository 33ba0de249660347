#include "analysis/ffmpeg_report.h"

#include "analysis/report_lines.h"
#include "analysis/report_text.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/files.h"
#include "support/log.h"

namespace qv
{
namespace
{

struct Range {
    qsizetype begin = 0;
    qsizetype end = 0;
};

bool isOutputLine(const QString &line)
{
    return line.contains(QLatin1String("At least one output file must be specified")) ||
           line.contains(QLatin1String("Output #0, "));
}

// The last input section without what ffmpeg says of its output. The first line of a report is
// never looked at: it is ffmpeg's own name.
Range inputSection(const QStringList &lines)
{
    Range section{0, lines.size()};
    for (qsizetype i = lines.size() - 1; i >= 1; --i) {
        if (isOutputLine(lines[i])) {
            section.end = i;
        }
        if (lines[i].contains(QLatin1String("Input #0, "))) {
            section.begin = i;
            break;
        }
    }
    return section;
}

QString runReport(const QString &sourcePath)
{
    return taskArray1PipeMax({ffmpegPath(), QStringLiteral("-loglevel"), QStringLiteral("info"),
                              QStringLiteral("-i"), sourcePath},
                             ErrorText::Merged);
}

} // namespace

std::optional<MediaInfoRecord> parseFfmpegReport(const QString &report)
{
    if (!report.contains(inputMark)) {
        logLine(QStringLiteral("ffInfos             :-( no input found"));
        logDebug([] { return QStringLiteral("ffInfos > !Input # :-((("); });
        return std::nullopt;
    }
    const QStringList lines = linesOf(report);
    const Range section = inputSection(lines);
    ReportLines parser;
    for (qsizetype i = section.begin; i < section.end; ++i) {
        parser.take(lines[i]);
    }
    return parser.record();
}

std::optional<MediaInfoRecord> ffInfos(const QString &sourcePath, const QString &report)
{
    const bool hasSource = fileExists(sourcePath);
    if (report.contains(inputMark) || (!report.isNull() && !hasSource)) {
        return parseFfmpegReport(report);
    }
    if (!hasSource) {
        logLine(QStringLiteral("ffInfos             :-( no src & no verbose"));
        logDebug([] { return QStringLiteral("ffmpeg > ffInfos: :-( !src && !verbose"); });
        return std::nullopt;
    }
    const QString printed = runReport(sourcePath);
    return printed.isNull() ? std::nullopt : parseFfmpegReport(printed);
}

} // namespace qv
