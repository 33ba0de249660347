#pragma once

#include "analysis/media_info_record.h"
#include "analysis/stream_details.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

// What a report tells beyond the keys of parseFfmpegReport(), whose values are fixed.
namespace qv
{

struct ChapterTitle {
    float start = 0; // seconds
    QString title;
};

struct ReportDetails {
    std::optional<double> duration; // seconds, to a hundredth
    QString created;                // ISO 8601, as precise as the container has it
    QList<ChapterTitle> chapters;
    QHash<int, StreamDetails> streams; // by their number in the file
};

// Of the last input that the report describes. It is in the words of the installed release and with
// its tags, but without the source's path, which could forge lines.
ReportDetails reportDetails(const QString &report);

// Adds to a merged record what is known of the file and of its streams; values it has stay.
void addDetails(MediaInfoRecord &record, const ReportDetails &details);

} // namespace qv
