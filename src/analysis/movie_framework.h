#pragma once

#include "analysis/media_info_record.h"

#include <QString>

#include <optional>

// The platform's movie framework, asked for the sources that ffmpeg cannot describe or decode.
namespace qv
{

class MovieFramework
{
public:
    virtual ~MovieFramework() = default;

    virtual bool canOpen(const QString &path) = 0;
    // Whether a decoder for this four-character code ("apcn", "icod") is installed.
    virtual bool hasDecoder(const QString &fourCharacterCode) = 0;
    // What it knows of the source; nothing when it can't open it.
    virtual std::optional<MediaInfoRecord> record(const QString &path) = 0;
    // Writes the picture at that instant, scaled to width by height pixels, to `destination`, whose
    // extension chooses the format. False when there is no picture file afterwards.
    virtual bool thumbnail(const QString &path, int width, int height, double seconds,
                           const QString &destination) = 0;
};

} // namespace qv
