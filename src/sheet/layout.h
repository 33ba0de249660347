#pragma once

#include <QRectF>
#include <QSizeF>
#include <QString>

#include <vector>

// Geometry of a sheet: numbers in, numbers out. Lengths are in canvas pixels, the origin is the
// upper-left corner and y grows downward, as in QPainter.
namespace qv
{

enum class SheetLayout { Big = 0, Medium = 1, Minimum = 2, Mixed = 3 };
inline constexpr int layoutCount = 4;

// From a row's layout index; anything unknown is mixed.
SheetLayout sheetLayout(int out);
// "big", "medium", "minimum", "mixed".
QString layoutName(SheetLayout layout);
// Columns of the grid: 2, 3 or 6.
int columnsOf(SheetLayout layout);
// The preference that holds a layout's number of stills: "prefLimitBig", ...
QString countPreference(SheetLayout layout);
// The count rounded down to whole rows; 0 below one row.
int wholeRowsCount(SheetLayout layout, int requested);

// Width and height of the stills: the stored size brought to its display aspect, fitted into
// 1280 x 960 and rounded up to even numbers, all in pixels. Sides of 0 or less count as 1280 x 960.
struct StillSize {
    int width = 0;
    int height = 0;
};
StillSize stillSize(int width, int height, const QString &displayAspect);

// Everything the composer places, in units of the canvas: what is drawn is scaled to pixels.
struct SheetGeometry {
    double scale = 1;  // 1.0 for JPEG sheets, 1.5 for PNG sheets
    double width = 0;  // of the canvas
    double height = 0; // of the canvas
    double border = 0;
    double gap = 0;
    double titleFont = 0;
    double captionFont = 0;
    double timecodeFont = 0;
    QSizeF cell;
    double pictureHeightPerWidth = 1; // of the stills
    QRectF title;
    std::vector<QRectF> captionLabels; // one a caption line, then its value
    std::vector<QRectF> captionValues;
    QRectF hero; // the large picture of the mixed layout; empty otherwise
    std::vector<QRectF> cells;
};

// Sizes before `scale`: the border in pixels of a JPEG sheet (64 at most), the stills in any unit
// (a side of 0 or less gives them the shape of 1280 x 960).
struct SheetMeasures {
    SheetLayout layout = SheetLayout::Medium;
    double scale = 1;
    double borderSize = 1;
    int pictures = 0;
    int captionLines = 0; // title not counted
    double stillWidth = 0;
    double stillHeight = 0;
};
SheetGeometry sheetGeometry(const SheetMeasures &measures);

// Where the picture is in a cell, its border included: it fills the cell, unless its shape is out
// of the bounds for cells.
QRectF pictureInCell(const SheetGeometry &sheet, const QRectF &cell);

} // namespace qv
