#pragma once

#include "analysis/decoded_frame.h"
#include "analysis/duration_check.h"
#include "analysis/media_info_record.h"
#include "analysis/merge_table.h"
#include "analysis/report_details.h"

#include <QString>

#include <optional>

// One record of a source out of all that the probes say; which of them is believed stands in
// merge_table.
namespace qv
{

// What the analysis of a source has gathered.
struct Findings {
    QString sourcePath;
    QString report; // of the analysis run, in old words and without names
    QString interlacingText;
    DecodedFrame frame;
    std::optional<MediaInfoRecord> reported; // the report as a record
    ReportDetails details;                   // what it tells beyond that
    std::optional<MediaInfoRecord> movie;    // what the movie framework knows, when it was asked
};

struct Merged {
    MediaInfoRecord record;
    DurationClues clues;
};

// The record that the sheet is planned from: of the stream that ffmpeg decodes, as it is displayed.
// Reads the source's headers when it is MPEG video. Nothing when no probe could describe the source
// or when its only pictures are covers.
std::optional<Merged> analysisMerge(const Findings &findings);

// Whether the report shows a video stream that is more than a cover.
bool showsMovingPicture(const QString &report);

} // namespace qv
