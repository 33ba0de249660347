#pragma once

#include "analysis/media_info_record.h"
#include "analysis/mpeg_info.h"

#include <QString>

#include <optional>

// What the reader of MPEG video streams finds, as a record.
namespace qv
{

// The record of a reader that has read a file: wrapper ("mpeg", "mpeg1video", "mpeg2video"), v0_*,
// and for a bare video stream w_duration and w_offset. The offset counts the pictures of the start
// time as whole seconds; offsets stored so far were computed that way.
MediaInfoRecord mpegRecord(const mpegInfo &reader);

class mpeginfoFunction
{
public:
    // The record of a file; nothing (logged) when it can't be read as MPEG video.
    static std::optional<MediaInfoRecord> mpegInfoDico(const QString &path);
    // A report of a file as text. There is none: always empty.
    static QString mpegInfo(const QString &path);
};

} // namespace qv
