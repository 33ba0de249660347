#include "analysis/analysis_merge.h"

#include "analysis/ffmpeg_report.h"
#include "analysis/report_text.h"

namespace qv
{
namespace
{

void complete(MediaInfoRecord &record, const MediaInfoRecord &other)
{
    for (auto it = other.begin(); it != other.end(); ++it) {
        if (!record.contains(it.key())) {
            record.insert(it.key(), it.value());
        }
    }
}

} // namespace

std::optional<MediaInfoRecord> analysisMerge(const QString &sourcePath, const QString &ffmpegReport,
                                             const QString &interlacingText, MovieFramework &movies)
{
    std::optional<MediaInfoRecord> record = movies.record(sourcePath);
    const auto reported =
        ffmpegReport.contains(inputMark) ? parseFfmpegReport(ffmpegReport) : std::nullopt;
    if (!record && !reported) {
        return std::nullopt;
    }
    MediaInfoRecord merged = record.value_or(MediaInfoRecord());
    complete(merged, reported.value_or(MediaInfoRecord()));
    if (!interlacingText.isNull()) {
        complete(merged, {{streamKey("v", 0, "fields"), interlacingText}});
    }
    return merged;
}

} // namespace qv
