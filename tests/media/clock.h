#pragma once

#include "media/source.h"

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QString>

#include <optional>

// The clock that the sources show: flat blocks, eight columns and four rows over the whole picture,
// which survive every codec and scaling. The two rows in the middle are sixteen bits, the lowest at
// the upper left, white for 1; the block at the upper left corner is red, all else grey.

// ffmpeg's source and filters that draw the picture.
QString clockFilters(const Picture &picture);

// Seconds that the clock in this part of the sheet shows; nothing when a block is neither black nor
// white, or the red one isn't at its place (turned, mirrored, not drawn at all).
std::optional<double> readClock(const QImage &sheet, const QRectF &cell, double tick);

// The means of the red block and of a grey one.
struct SeenColours {
    QColor red;
    QColor grey;
};
SeenColours readColours(const QImage &sheet, const QRectF &cell);
