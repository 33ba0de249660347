#pragma once

#include <QString>
#include <QVariantMap>

// What is known about one source, flat: `wrapper` and w_* for the container, v<n>_*, a<n>_* and
// s<n>_* for its video, audio and subtitle streams, each kind counted from 0 in report order. A key
// that no probe could fill is absent.
//
//   wrapper            container name
//   w_duration         seconds (whole from a report)       w_offset   start time, seconds
//   w_bitrate          kb/s                                w_width, w_height  pixels; w_dar "16:9"
//   v0_id a0_id s0_id  stream number within the file       *_codec    codec name
//   v0_chroma          pixel format                        v0_width, v0_height  pixels
//   v0_par, v0_dar     "16:15", "4:3"                      v0_bitrate a0_bitrate  kb/s
//   v0_fps             frames a second                     v0_tbc     codec time base value
//   v0_fields          localised field-order word          a0_lang    language code
//   a0_rate            Hz      a0_channels  count          a0_bits    bits per sample
//   a0_force           1 when the first audio stream's values were forced
//   intraOffset        seconds, first key frame            chapters   list of seconds
//   clipName           name of a clip that lies on a camcorder card
//   damaged            what is wrong with a source that is used all the same
namespace qv
{

using MediaInfoRecord = QVariantMap;

inline const QString damageKey = QStringLiteral("damaged");

// "v", 0, "width" gives "v0_width".
QString streamKey(const char *kind, int index, const char *field);

} // namespace qv
