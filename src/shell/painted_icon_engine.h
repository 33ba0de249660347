#pragma once

#include <QIconEngine>
#include <QPainter>

namespace qv
{

// An icon that is drawn anew at every size; a pixmap of it is a drawing on transparent ground.
class PaintedIconEngine : public QIconEngine
{
public:
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }
};

} // namespace qv
