#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QSizeF>
#include <QString>

#include <tl/expected.hpp>

#include <functional>

// Pictures rendered at a pixel size and resolution, and written in the format that the file's
// extension names. Bitmaps are RGBA, 8 bits a sample, sRGB. A resolution of 0 or below means 72
// pixels an inch.
namespace qv
{

// Something to draw, in its own coordinates from (0, 0) to `size`.
struct Drawing {
    QSizeF size;
    std::function<void(QPainter &)> paint;
};

// A bitmap of exactly width x height pixels with the whole picture drawn over all of it
// (proportions not kept), on black unless transparency is kept. Null for an empty size.
QImage imgRender(const QImage &picture, int width, int height, double resolution,
                 bool keepTransparency);
QImage imgRender(const Drawing &drawing, int width, int height, double resolution,
                 bool keepTransparency);

// Writes the bitmap, or says why it can't, in the system's words where it refused. A failed write
// leaves no file. A JPEG or PNG file carries the XMP packet, when one is given.
tl::expected<void, QString> imgWrite(const QImage &bitmap, const QString &path,
                                     const QByteArray &xmpPacket = {});

// Reads a picture, fits it (0 stretch, 1 fit with bands, 2 cover and crop, -1 fit without bands,
// -2 cover without cropping) and writes it. False for a missing or undecodable source, an unknown
// mode, an empty size, or a failed write.
bool imgExport(const QString &source, const QString &destination, int width, int height,
               double resolution, int mode);

// A file of one colour.
bool imgSwatch(const QColor &color, const QString &path, int width, int height);

// Whether the format of this extension keeps transparency.
bool keepsTransparency(const QString &extension);

} // namespace qv
