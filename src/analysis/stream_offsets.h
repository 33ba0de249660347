#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

// How far the streams of a source start before or after its video.
namespace qv
{

// From a report with the source's streams and one "av_read_packet stream=" line for each packet:
//   v<n>_offsetMs, a<n>_offsetMs, s<n>_offsetMs   first time stamp of stream n less the first one
//                                                 of all video, in ms; only beyond 30 ms
//   v_offsetMs                                    ms that the earliest stream is ahead; 0 when none
// Here n is the stream's number within the file. Nothing (logged) when there are no packets, no
// video, no audio, or packets of a stream that the report doesn't list.
std::optional<QVariantMap> ptsDtsOffsetMs(const QString &report);

} // namespace qv
