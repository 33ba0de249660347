#pragma once

#include "analysis/media_info_record.h"

#include <QString>

#include <optional>

// The report that ffmpeg prints of its input, as a record.
namespace qv
{

// Parses the last input section of a report; nothing when the text holds no "Input #".
std::optional<MediaInfoRecord> parseFfmpegReport(const QString &report);

// The record of a source. A report that contains "Input #" is parsed as it stands and no tool is
// run; otherwise ffmpeg reports on the source. Nothing (logged) when there is neither report nor
// source, when the tool prints nothing, or when it finds no input.
std::optional<MediaInfoRecord> ffInfos(const QString &sourcePath, const QString &report);

} // namespace qv
