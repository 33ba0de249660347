#include "sheet/layout.h"

#include "settings/preferences_store.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace qv
{

namespace
{

constexpr int maximumStillWidth = 1280;
constexpr int maximumStillHeight = 960;

// Canvas pixels at scale 1.
constexpr double sheetWidth = 1280;
constexpr double smallestGap = 5;
constexpr double labelColumn = 250;
constexpr double titleFontSize = 36;
constexpr double captionFontSize = 16;
constexpr double bandFontSize = 14;
constexpr double lineSpacing = 1.5;
// Beyond it six columns would have no room left for the pictures.
constexpr int heroRows = 4;

// The largest ratio of height to width of a picture that fills its cell. A taller one is centred in
// a cell of limited height, with room for the stamp.
constexpr double tallestPicture = 16;
constexpr double flattestPicture = 1.0 / 16;
constexpr double limitedCellHeight = 4; // in cell widths

// Ratios outside are reports gone wrong, not pictures.
constexpr float narrowestAspect = 0.05F;
constexpr float widestAspect = 20.0F;

int truncated(float value)
{
    constexpr float farAboveAnySize = 1e9F;
    return static_cast<int>(std::clamp(value, 0.0F, farAboveAnySize));
}

int roundedUpToEven(int value)
{
    return std::max(2, value + value % 2);
}

void traceSize(const char *label, int width, int height)
{
    logDebug([&] {
        return QStringLiteral("%1 : %2x%3")
            .arg(QString::fromLatin1(label), QString::number(width), QString::number(height));
    });
}

// 0 when the text names no usable ratio.
float displayAspectValue(const QString &text)
{
    if (!text.contains(QLatin1Char(':'))) {
        return 0;
    }
    const QStringList parts = text.split(QLatin1Char(':'));
    const float divisor = floatValue(parts.at(1));
    const float value = divisor == 0.0F ? 0.0F : floatValue(parts.at(0)) / divisor;
    const bool usable = value >= narrowestAspect && value <= widestAspect;
    return usable ? value : 0.0F;
}

double timecodeFontSize(SheetLayout layout)
{
    switch (layout) {
    case SheetLayout::Big:
        return 24;
    case SheetLayout::Medium:
        return 18;
    case SheetLayout::Minimum:
    case SheetLayout::Mixed:
        break;
    }
    return 14;
}

double saneBorder(double size)
{
    return size > 0 ? std::min(size, largestBorderSize) : 0;
}

double stillHeightPerWidth(const SheetMeasures &measures)
{
    const double ratio = measures.stillHeight / measures.stillWidth;
    const bool usable = measures.stillWidth > 0 && std::isfinite(ratio) && ratio > 0;
    return usable ? ratio : double(maximumStillHeight) / maximumStillWidth;
}

double cellHeightPerWidth(double picture)
{
    return picture > tallestPicture ? limitedCellHeight : std::max(picture, flattestPicture);
}

void setSizes(SheetGeometry &sheet, const SheetMeasures &measures)
{
    const double s = measures.scale;
    sheet.scale = s;
    sheet.width = sheetWidth * s;
    sheet.border = saneBorder(measures.borderSize) * s;
    sheet.gap = std::max(sheet.border, smallestGap * s);
    sheet.titleFont = titleFontSize * s;
    sheet.captionFont = captionFontSize * s;
    sheet.timecodeFont = timecodeFontSize(measures.layout) * s;

    const int columns = columnsOf(measures.layout);
    const double cellWidth = (sheet.width - (columns + 1) * sheet.gap) / columns;
    sheet.pictureHeightPerWidth = stillHeightPerWidth(measures);
    sheet.cell = QSizeF(cellWidth, cellWidth * cellHeightPerWidth(sheet.pictureHeightPerWidth));
}

// Gives the height of the block.
double placeCaptions(SheetGeometry &sheet, int lines)
{
    double y = lineSpacing * sheet.titleFont;
    sheet.title = QRectF(sheet.gap, 0, sheet.width - 2 * sheet.gap, y);
    const double lineHeight = lineSpacing * sheet.captionFont;
    const double column = labelColumn * sheet.scale;
    for (int line = 0; line < lines; ++line) {
        sheet.captionLabels.emplace_back(0, y, column, lineHeight);
        sheet.captionValues.emplace_back(column, y, sheet.width - column - sheet.gap, lineHeight);
        y += lineHeight;
    }
    return y;
}

// Gives where the rows below start.
double placeHero(SheetGeometry &sheet, int columns, double top)
{
    const double width = columns * sheet.cell.width() + (columns - 1) * sheet.gap;
    const double height = heroRows * sheet.cell.height() + (heroRows - 1) * sheet.gap;
    sheet.hero = QRectF(sheet.gap, top, width, height);
    return top + height + sheet.gap;
}

// Gives where the last row, with the gap below it, ends.
double placeCells(SheetGeometry &sheet, int columns, int pictures, double top)
{
    const double pitch = sheet.cell.height() + sheet.gap;
    for (int i = 0; i < pictures; ++i) {
        const double x = sheet.gap + (i % columns) * (sheet.cell.width() + sheet.gap);
        const int row = i / columns;
        const double y = top + row * pitch;
        sheet.cells.emplace_back(QPointF(x, y), sheet.cell);
    }
    const int rows = pictures / columns + (pictures % columns > 0 ? 1 : 0);
    return top + rows * pitch;
}

} // namespace

SheetLayout sheetLayout(int out)
{
    return out >= 0 && out <= 2 ? static_cast<SheetLayout>(out) : SheetLayout::Mixed;
}

QString layoutName(SheetLayout layout)
{
    switch (layout) {
    case SheetLayout::Big:
        return QStringLiteral("big");
    case SheetLayout::Medium:
        return QStringLiteral("medium");
    case SheetLayout::Minimum:
        return QStringLiteral("minimum");
    case SheetLayout::Mixed:
        break;
    }
    return QStringLiteral("mixed");
}

int columnsOf(SheetLayout layout)
{
    switch (layout) {
    case SheetLayout::Big:
        return 2;
    case SheetLayout::Medium:
        return 3;
    case SheetLayout::Minimum:
    case SheetLayout::Mixed:
        break;
    }
    return 6;
}

QString countPreference(SheetLayout layout)
{
    switch (layout) {
    case SheetLayout::Big:
        return QStringLiteral("prefLimitBig");
    case SheetLayout::Medium:
        return QStringLiteral("prefLimitMed");
    case SheetLayout::Minimum:
        return QStringLiteral("prefLimitMin");
    case SheetLayout::Mixed:
        break;
    }
    return QStringLiteral("prefLimitMix");
}

int wholeRowsCount(SheetLayout layout, int requested)
{
    return requested > 0 ? requested - requested % columnsOf(layout) : 0;
}

StillSize stillSize(int width, int height, const QString &displayAspect)
{
    width = width > 0 ? width : maximumStillWidth;
    height = height > 0 ? height : maximumStillHeight;
    float aspect = static_cast<float>(width) / static_cast<float>(height);
    traceSize("size src", width, height);

    const float display = displayAspectValue(displayAspect);
    if (display > 0 && display != aspect) {
        width = truncated(static_cast<float>(height) * display);
        aspect = display;
        traceSize("size def", width, height);
    }
    if (width > maximumStillWidth) {
        height = truncated(maximumStillWidth / aspect);
        width = maximumStillWidth;
        traceSize("size def", width, height);
    }
    if (height > maximumStillHeight) {
        width = truncated(aspect * maximumStillHeight);
        height = maximumStillHeight;
        traceSize("size def", width, height);
    }
    return {roundedUpToEven(width), roundedUpToEven(height)};
}

QRectF pictureInCell(const SheetGeometry &sheet, const QRectF &cell)
{
    const double shape = sheet.pictureHeightPerWidth;
    if (shape == cellHeightPerWidth(shape)) {
        return cell;
    }
    QRectF picture(QPointF(), QSizeF(1, shape).scaled(cell.size(), Qt::KeepAspectRatio));
    picture.moveCenter(cell.center());
    return picture;
}

SheetGeometry sheetGeometry(const SheetMeasures &measures)
{
    SheetGeometry sheet;
    setSizes(sheet, measures);
    const int columns = columnsOf(measures.layout);
    double y = placeCaptions(sheet, measures.captionLines);
    if (measures.layout == SheetLayout::Mixed) {
        y = placeHero(sheet, columns, y);
    }
    y = placeCells(sheet, columns, measures.pictures, y);
    const double emptyBand = lineSpacing * bandFontSize * sheet.scale;
    sheet.height = y + emptyBand;
    return sheet;
}

} // namespace qv
