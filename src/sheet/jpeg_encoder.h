#pragma once

#include <QByteArray>
#include <QImage>

namespace qv
{

// At best quality, colour at full resolution, over black, with the picture's density and profile.
// Empty when the picture could not be encoded.
QByteArray encodeJpeg(const QImage &picture);

} // namespace qv
