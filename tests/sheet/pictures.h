#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>

// Pictures that tests make and look at.
namespace qv::test
{

inline bool savePicture(const QString &path, const QSize &size, const QColor &color)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(color);
    return picture.save(path, nullptr, 95);
}

inline bool isNear(const QColor &a, const QColor &b, int tolerance = 12)
{
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

// How many pixels of the area differ clearly from the colour.
inline int pixelsUnlike(const QImage &picture, const QRect &area, const QColor &color)
{
    const QRect visible = area.intersected(picture.rect());
    int count = 0;
    for (int y = visible.top(); y <= visible.bottom(); ++y) {
        for (int x = visible.left(); x <= visible.right(); ++x) {
            count += isNear(picture.pixelColor(x, y), color, 40) ? 0 : 1;
        }
    }
    return count;
}

} // namespace qv::test
