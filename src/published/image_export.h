#pragma once

#include "sheet/picture_file.h"

#include <QColor>

// Pictures of files, fitted into a size and written in the format that the file's extension names:
// JPEG, PNG, TIFF, BMP, GIF, JPEG 2000; JPEG for any other.
namespace qv
{

// A bitmap of exactly width x height pixels with the whole picture drawn over all of it
// (proportions not kept), on black unless transparency is kept. Null for an empty size.
QImage imgRender(const QImage &picture, int width, int height, double resolution,
                 bool keepTransparency);

// As writePicture(), in any of the formats. A JPEG or PNG file carries the XMP packet.
tl::expected<void, QString> imgWrite(const QImage &bitmap, const QString &path,
                                     const QByteArray &xmpPacket = {});

// Reads a picture, fits it (0 stretch, 1 fit with bands, 2 cover and crop, -1 fit without bands,
// -2 cover without cropping) and writes it. False for a missing or undecodable source, an unknown
// mode, an empty size, or a failed write.
bool imgExport(const QString &source, const QString &destination, int width, int height,
               double resolution, int mode);

// A file of one colour.
bool imgSwatch(const QColor &color, const QString &path, int width, int height);

} // namespace qv
