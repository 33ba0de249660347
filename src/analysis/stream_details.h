#pragma once

#include <QString>

#include <optional>

// What a report's line tells of one stream beyond the keys of parseFfmpegReport(), whose values are
// fixed.
namespace qv
{

struct DolbyVision {
    int profile = 0;
    // Other decoders show its colours right.
    bool hasCompatibleBase = true;
};

// Texts are null, numbers 0 when unknown.
struct StreamDetails {
    QString language;       // "eng"
    QString profile;        // of the codec, "High"
    int channels = 0;       // of sound
    double averageRate = 0; // frames a second
    // Colours in ffmpeg's words: "bt2020nc", "bt2020", "smpte2084", "tv"
    QString matrix;
    QString primaries;
    QString transfer;
    QString range;
    QString fieldOrder; // as the container or the stream's headers state it: "t", "b"
    std::optional<DolbyVision> dolbyVision;
};

struct StreamLine {
    int id = 0; // the stream's number in the file
    StreamDetails details;
};

// Nothing for any other line.
std::optional<StreamLine> streamLine(const QString &line);

// What a line of side data states; nothing for any other line.
std::optional<DolbyVision> dolbyVisionIn(const QString &line);

} // namespace qv
