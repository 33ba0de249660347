#pragma once

#include "analysis/media_info_record.h"
#include "analysis/movie_framework.h"

#include <QString>

#include <optional>

namespace qv
{

// The record of a source that the movie framework decodes: what the framework knows of it,
// completed by the keys that only ffmpeg's report has, and by the field-order word when neither
// states one. Nothing when neither can describe the source. A report without an input section
// counts as none.
std::optional<MediaInfoRecord> analysisMerge(const QString &sourcePath, const QString &ffmpegReport,
                                             const QString &interlacingText,
                                             MovieFramework &movies);

} // namespace qv
