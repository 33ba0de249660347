#pragma once

#include <QByteArray>
#include <QImage>

// Encoders of the formats that the image plug-ins don't write, or not well enough. An empty array
// means that the picture could not be encoded.
namespace qv
{

// At best quality, colour at full resolution, over black, with the picture's density and profile.
QByteArray encodeJpeg(const QImage &picture);

// One palette of at most 256 colours; pixels less than half opaque become transparent.
QByteArray encodeGif(const QImage &picture);

// A JP2 file, lossless, without alpha.
QByteArray encodeJpeg2000(const QImage &picture);

} // namespace qv
