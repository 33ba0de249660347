#pragma once

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QRectF>
#include <QString>
#include <QStringList>

// Text drawn into a rectangle: one line, cut at the tail, with a soft shadow below bright text.
namespace qv
{

struct TextAttributes {
    QFont font; // drawText() adds the families that its text needs
    QColor color;
    Qt::Alignment alignment;
    bool shadow = false; // black, alpha 0.6, 1.5 below, blur radius 5
};

// Size in canvas pixels (negative means 11), colour (white when invalid), alignment by letter:
// "l", "r", "c", "j", any other left.
TextAttributes textAttributes(double size, const QColor &color, QChar alignment);

// In the painter's coordinates, centred vertically in the rectangle.
void drawText(QPainter &painter, const QRectF &rect, const QString &text,
              const TextAttributes &attributes);

// Loads the text font and prepares drawing with it, which is best done while a tool works.
void prepareTexts();

// Loads the other fonts if one of the texts needs them. To be called on the main thread before the
// texts are drawn on another one.
void loadFontsFor(const QStringList &texts);

} // namespace qv
