#pragma once

#include <QPainter>
#include <QRectF>

#include <functional>

namespace qv
{

// The soft shadow of what `shape` draws within `extent` (painter's coordinates), drawn where the
// painter stands: black, alpha 0.6, 1.5 below, blur radius 5. The shape itself is not drawn.
void drawShadow(QPainter &painter, const QRectF &extent,
                const std::function<void(QPainter &)> &shape);

} // namespace qv
