#pragma once

#include "analysis/media_info_record.h"

#include <QMap>

// Which probe is believed, key by key.
namespace qv
{

enum class Probe {
    Report,   // what ffmpeg prints of its input
    Frame,    // the first frames as ffmpeg decodes them
    Mpeg,     // our reader of MPEG video headers
    Recorder, // the property list beside a recorder's film
    Movie,    // the movie framework
    Offsets,  // the first time stamps of the streams
};

// One record out of what the probes know. Values that can't be (a size or rate of 0, an aspect of
// 0:1) count as not given.
MediaInfoRecord mergeByTrust(const QMap<Probe, MediaInfoRecord> &probes);

} // namespace qv
