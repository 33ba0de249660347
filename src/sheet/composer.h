#pragma once

#include "sheet/provenance.h"

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>
#include <QVariantMap>

#include <tl/expected.hpp>

#include <optional>

// Draws an index sheet and writes it.
namespace qv
{

struct ComposedSheet {
    QString path;
    int drawn = 0; // stills that stand in their cells
};

// Draws the sheet that `display` describes (dstPathStr, bigMedMinMix, th, wTh, hTh, borderColor,
// borderSize, bkgColor, the captions, timecode) and writes it to dstPathStr plus "jpg" (dpi 0) or
// "png". dstPathStr must name an existing folder. Stills that are missing or don't decode leave
// their cells empty. The file carries what it tells of itself, when that is given. Gives why when
// no sheet could be written (logged, too); then no file is left either.
tl::expected<ComposedSheet, QString>
sheetPicture(int dpi, const QVariantMap &display,
             const std::optional<Provenance> &provenance = std::nullopt);

// Loads the fonts that the sheet needs. To be called on the main thread before the sheet is drawn
// on another one.
void prepareSheet(const QVariantMap &display);

// Width and height of the sheet's bitmap; empty when it can't be drawn.
QSize sheetPixels(int dpi, const QVariantMap &display);
// The size of stills beyond which the sheet gets no sharper, in their shape and not above wTh x
// hTh.
QSize usefulStillSize(int dpi, const QVariantMap &display);
// The sheet as a bitmap of this width, without writing it: sharp at that size, and quick when it is
// small. A null image when nothing can be drawn.
QImage drawSheetAtWidth(int dpi, const QVariantMap &display, int width, int *drawn = nullptr);

// Colours of the captions, from background and border.
struct CaptionColors {
    QColor main;
    QColor secondary; // same as main unless the rule names one
};
CaptionColors captionColors(const QColor &background, const QColor &border);

// alpha x (red + green + blue) / 3
double brightness(const QColor &color);

// File extension of a picture choice: "jpg" for 0, else "png".
QString sheetExtension(int dpi);

} // namespace qv
