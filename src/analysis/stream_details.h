#pragma once

#include <QString>

#include <optional>

// What a report's line tells of one stream beyond the keys of parseFfmpegReport(), whose values are
// fixed.
namespace qv
{

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
    std::optional<int> dolbyVisionProfile;
};

struct StreamLine {
    int id = 0; // the stream's number in the file
    StreamDetails details;
};

// Nothing for any other line.
std::optional<StreamLine> streamLine(const QString &line);

// The profile in a line of side data; nothing for any other line.
std::optional<int> dolbyVisionProfile(const QString &line);

} // namespace qv
