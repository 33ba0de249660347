#include "sheet/sheet_painter.h"

#include "sheet/still_reader.h"
#include "sheet/stills_ahead.h"
#include "sheet/text_painter.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qv
{

namespace
{

constexpr double timecodeBand = 1.4; // x the font size
constexpr double timecodeMargin = 0.25;

// Edges on whole device pixels, so that they stay crisp at any scale.
QRect deviceRect(const QPainter &painter, const QRectF &rect)
{
    const QRectF mapped = painter.transform().mapRect(rect);
    const QPoint topLeft(qRound(mapped.left()), qRound(mapped.top()));
    const QPoint end(qRound(mapped.right()), qRound(mapped.bottom()));
    return {topLeft, end - QPoint(1, 1)};
}

// At least one pixel for any border, however the canvas is scaled.
int deviceBorder(const QPainter &painter, double border)
{
    const double scale = std::abs(painter.transform().m11());
    return border > 0 ? std::max(1, qRound(border * scale)) : 0;
}

void fillDevice(QPainter &painter, const QRect &rect, const QColor &color)
{
    painter.save();
    painter.resetTransform();
    painter.fillRect(rect, color);
    painter.restore();
}

QImage fittedTo(const QSize &size, const QImage &picture)
{
    return picture.isNull() ? picture
                            : picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

void drawDevice(QPainter &painter, const QPoint &at, const QImage &picture)
{
    painter.save();
    painter.resetTransform();
    painter.drawImage(at, picture);
    painter.restore();
}

void paintTitle(QPainter &painter, const SheetGeometry &sheet, const SheetContent &content)
{
    drawText(painter, sheet.title, content.title,
             textAttributes(sheet.titleFont, content.text.main, QChar(u'l')));
}

// The separator is drawn by itself: within the value it would jump to the other end of a value in
// a script that runs from right to left.
void paintCaption(QPainter &painter, const SheetGeometry &sheet, const QColor &color,
                  std::size_t line, const SheetCaption &caption)
{
    const QString label = localized(caption.key);
    const QString separator = QStringLiteral(" : ");
    const TextAttributes left = textAttributes(sheet.captionFont, color, QChar(u'l'));
    const TextAttributes right = textAttributes(sheet.captionFont, color, QChar(u'r'));
    const double width = QFontMetricsF(left.font).horizontalAdvance(separator);
    const QRectF &box = sheet.captionValues[line];
    drawText(painter, sheet.captionLabels[line], label, right);
    drawText(painter, box, separator, left);
    drawText(painter, box.adjusted(width, 0, 0, 0), caption.text, left);
    logDebug([&] {
        return QStringLiteral("txtInfosA > str : %1 -> %2").arg(caption.key, caption.text);
    });
}

std::vector<double> weightsOf(const QStringList &stills)
{
    std::vector<double> weights;
    weights.reserve(static_cast<std::size_t>(stills.size()));
    for (const QString &still : stills) {
        weights.push_back(fileSize(still, QStringLiteral("o")));
    }
    return weights;
}

void traceHeaviest(const std::vector<double> &weights)
{
    double heaviest = 0;
    std::size_t previous = 0;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        if (weights[i] > heaviest) {
            logDebug([&] {
                return QStringLiteral("weightestTh #%1 : %2 o (prev #%3)")
                    .arg(QString::number(i), fixedText(weights[i], 0), QString::number(previous));
            });
            heaviest = weights[i];
            previous = i;
        }
    }
}

// The stills that exist, the heaviest first, the earlier of equals first.
std::vector<int> byWeight(const QStringList &stills)
{
    const std::vector<double> weights = weightsOf(stills);
    traceHeaviest(weights);
    std::vector<int> order(weights.size());
    std::iota(order.begin(), order.end(), 0);
    const auto weight = [&](int i) { return weights[static_cast<std::size_t>(i)]; };
    std::erase_if(order, [&](int i) { return weight(i) <= 0; });
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return weight(a) > weight(b); });
    return order;
}

// The size that covers the box at the picture's own proportions.
QSize coveringSize(const QSize &picture, const QSize &box)
{
    return picture.scaled(box, Qt::KeepAspectRatioByExpanding);
}

// The centred part of the picture that has the box's proportions.
QRect centralPart(const QSize &picture, const QSize &box)
{
    const QSize part = box.scaled(picture, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    return {QPoint((picture.width() - part.width()) / 2, (picture.height() - part.height()) / 2),
            part};
}

bool paintHeroFrom(QPainter &painter, const QRect &box, const QString &path)
{
    const QSize size = readStillSize(path);
    const QImage picture =
        size.isEmpty() ? QImage() : readStill(path, coveringSize(size, box.size()));
    if (picture.isNull()) {
        return false;
    }
    const QImage part = picture.copy(centralPart(picture.size(), box.size()));
    drawDevice(painter, box.topLeft(), fittedTo(box.size(), part));
    return true;
}

// The picture with the most detail stands large; weight is how detail shows in a JPEG file.
void paintHero(QPainter &painter, const SheetGeometry &sheet, const SheetContent &content)
{
    const QRect box = deviceRect(painter, sheet.hero);
    logDebug([&] {
        return QStringLiteral("hOffset = %1").arg(fixedText(sheet.height - sheet.hero.bottom(), 0));
    });
    if (box.isEmpty()) {
        return;
    }
    for (const int index : byWeight(content.stills)) {
        if (paintHeroFrom(painter, box, content.stills.at(index))) {
            return;
        }
    }
}

void paintTimecode(QPainter &painter, const SheetGeometry &sheet, const QRectF &cell,
                   const QString &text)
{
    const double height = timecodeBand * sheet.timecodeFont;
    const double margin = timecodeMargin * sheet.timecodeFont;
    const QRectF picture = cell.adjusted(sheet.border, sheet.border, -sheet.border, -sheet.border);
    const QRectF band(picture.left() + margin, picture.bottom() - height,
                      picture.width() - 2 * margin, height);
    painter.save();
    painter.setClipRect(picture); // the shadow stays off the frame
    drawText(painter, band, text, textAttributes(sheet.timecodeFont, Qt::white, QChar(u'r')));
    painter.restore();
}

// A cell in device pixels, and the picture in it.
struct DeviceCell {
    QRect frame; // the whole cell
    QRect picture;
};

DeviceCell deviceCell(const QPainter &painter, const SheetGeometry &sheet, int i)
{
    const QRectF &cell = sheet.cells[static_cast<std::size_t>(i)];
    const QRect frame = deviceRect(painter, cell);
    const int border = deviceBorder(painter, sheet.border);
    QRect picture =
        deviceRect(painter, pictureInCell(sheet, cell)).adjusted(border, border, -border, -border);
    // A very narrow picture leaves nothing between its borders.
    picture.setSize(picture.size().expandedTo(QSize(1, 1)));
    return {frame, picture};
}

void paintCell(QPainter &painter, const SheetGeometry &sheet, const SheetContent &content, int i,
               const QImage &still)
{
    const DeviceCell cell = deviceCell(painter, sheet, i);
    fillDevice(painter, cell.frame, content.border);
    drawDevice(painter, cell.picture.topLeft(), still);
    paintTimecode(painter, sheet, sheet.cells[static_cast<std::size_t>(i)],
                  stringIn(content.timecodes, QString::number(i)));
}

// Gives how many stills could be drawn; a cell without one stays background.
int paintCells(QPainter &painter, const SheetGeometry &sheet, const SheetContent &content)
{
    const int count = static_cast<int>(content.stills.size());
    std::vector<QSize> sizes;
    sizes.reserve(content.stills.size());
    for (int i = 0; i < count; ++i) {
        sizes.push_back(deviceCell(painter, sheet, i).picture.size());
    }
    StillsAhead stills(count, [&](int i) {
        const QSize size = sizes[static_cast<std::size_t>(i)];
        return fittedTo(size, readStill(content.stills.at(i), size));
    });
    int drawn = 0;
    for (int i = 0; i < count; ++i) {
        if (const QImage still = stills.next(); !still.isNull()) {
            paintCell(painter, sheet, content, i, still);
            ++drawn;
        }
    }
    return drawn;
}

} // namespace

int paintSheet(QPainter &painter, const SheetGeometry &sheet, const SheetContent &content)
{
    fillDevice(painter, painter.viewport(), content.background);
    paintTitle(painter, sheet, content);
    for (std::size_t line = 0; line < content.captions.size(); ++line) {
        paintCaption(painter, sheet, content.text.secondary, line, content.captions[line]);
    }
    if (!sheet.hero.isEmpty()) {
        paintHero(painter, sheet, content);
    }
    return paintCells(painter, sheet, content);
}

} // namespace qv
