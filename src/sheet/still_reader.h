#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace qv
{

// How many pixels of a still make one of the sheet, each way, where the still has as many.
inline constexpr double stillOversampling = 2;

// A still, decoded at no more than what `wanted` needs: twice that size where the file has as much,
// so that scaling down by area gives a sharp picture. A null image when the file is missing, is no
// JPEG, does not decode or claims an absurd size: a tool may have been made to write anything.
QImage readStill(const QString &path, const QSize &wanted);

// Size in pixels that the file's header claims; empty when it isn't a usable picture.
QSize readStillSize(const QString &path);

} // namespace qv
