#pragma once

#include <QImage>
#include <QPainter>
#include <QSizeF>
#include <QString>

#include <tl/expected.hpp>

#include <functional>

// Pictures drawn at a pixel size and resolution, and written as JPEG or PNG. Bitmaps are RGBA, 8
// bits a sample, sRGB. A resolution of 0 or below means 72 pixels an inch.
namespace qv
{

inline constexpr int largestPictureSide = 65500; // pixels; what JPEG files can hold
bool isPictureSize(int width, int height);

// Black, or transparent. Null for a size that no picture can have.
QImage emptyBitmap(int width, int height, double resolution, bool keepTransparency);

// Something to draw, in its own coordinates from (0, 0) to `size`.
struct Drawing {
    QSizeF size;
    std::function<void(QPainter &)> paint;
};

// A bitmap of exactly width x height pixels with the whole drawing over all of it (proportions not
// kept), on black unless transparency is kept. Null for an empty size.
QImage imgRender(const Drawing &drawing, int width, int height, double resolution,
                 bool keepTransparency);

// Writes the bitmap, or says why it can't, in the system's words where it refused: as PNG when
// that is the path's extension, else as JPEG at best quality. The file carries the XMP packet, when
// one is given. A failed write leaves no file.
tl::expected<void, QString> writePicture(const QImage &bitmap, const QString &path,
                                         const QByteArray &xmpPacket = {});
// The same for a picture in its file's format; empty bytes are one that could not be encoded.
tl::expected<void, QString> writeEncoded(const QByteArray &bytes, const QString &path);

} // namespace qv
