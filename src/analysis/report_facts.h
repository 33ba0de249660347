#pragma once

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

// What a report says beside the keys of the record: which stream ffmpeg decodes, which streams are
// covers, which are to be turned.
namespace qv
{

struct Turn {
    double degrees = 0;
    bool byMatrix = false; // a display matrix, which ffmpeg always heeds; else the old rotate tag
};

struct ReportFacts {
    std::optional<int> picked; // number in the file of the stream that ffmpeg decodes
    QSet<int> covers;          // numbers of attached pictures
    QHash<int, Turn> turns;    // by stream number
};

// Of the last input that the report describes.
ReportFacts reportFacts(const QString &report);

} // namespace qv
