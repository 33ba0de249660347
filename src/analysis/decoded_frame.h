#pragma once

#include <QByteArray>
#include <QString>

// What the first frames look like when ffmpeg has decoded them: the stream header of the YUV4MPEG2
// file that the analysis run writes.
namespace qv
{

struct DecodedFrame {
    int width = 0; // pixels, as displayed: ffmpeg has turned the picture already. 0: unknown
    int height = 0;
    double fps = 0;      // 0: unknown
    QString pixelAspect; // "16:15"; null: unknown
    QString mark;        // interlacing: "p", "t", "b", ...; null: unknown
};

// Reads the header out of the file's first bytes.
DecodedFrame decodedFrame(const QByteArray &firstBytes);

} // namespace qv
