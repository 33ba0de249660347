#pragma once

#include <QString>

namespace qv
{

// A debug report without its complaints about streams other than the one whose pictures ffmpeg
// decodes: damaged or unknown sound, data, subtitles. As it is when ffmpeg decodes none.
QString withoutOtherStreams(const QString &report);

} // namespace qv
