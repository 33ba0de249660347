#pragma once

#include <QString>

#include <optional>
#include <vector>

// What of a source its pictures need, by what ffprobe tells of its packets.
namespace bench
{

struct NeededBytes {
    qint64 pictures = 0; // packets from each picture's key frame to the picture itself
    qint64 index = 0;    // of an MP4 file its `moov`; 0 elsewhere
};

// `shown` are the pictures' instants, seconds from the source's start. Nothing when ffprobe fails.
std::optional<NeededBytes> neededBytes(const QString &source, const std::vector<double> &shown);

// Mean size of the source's key pictures; 0 when ffprobe finds none.
double keyPictureBytes(const QString &source);

} // namespace bench
