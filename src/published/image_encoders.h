#pragma once

#include <QByteArray>
#include <QImage>

// Encoders of the formats that the image plug-ins don't write. An empty array means that the
// picture could not be encoded.
namespace qv
{

// One palette of at most 256 colours; pixels less than half opaque become transparent.
QByteArray encodeGif(const QImage &picture);

// A JP2 file, lossless, without alpha.
QByteArray encodeJpeg2000(const QImage &picture);

} // namespace qv
