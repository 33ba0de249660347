#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

// Decodes colour JPEG pictures as Qt's image plug-in does, without the search for plug-ins and one
// conversion less.
namespace qv
{

// In pixels; empty when the bytes are not a JPEG picture.
QSize jpegSize(const QByteArray &bytes);

// The picture in this size, scaled by libjpeg as far as possible. Null when it can't be decoded,
// or has other components than YCbCr.
QImage decodeJpeg(const QByteArray &bytes, const QSize &size);

} // namespace qv
