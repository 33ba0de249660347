#include "sheet/still_reader.h"

#include "sheet/jpeg_decoder.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>

namespace qv
{

namespace
{

constexpr int largestSide = 20000;
constexpr qint64 largestArea = 50'000'000;
// The decoder shrinks blocks of 8 x 8 pixels while it decodes; to 1, 2 and 4 pixels a side quickly,
// to other sizes more slowly than it decodes them whole.
constexpr int blockSide = 8;

bool isUsable(const QSize &size)
{
    return !size.isEmpty() && size.width() <= largestSide && size.height() <= largestSide &&
           static_cast<qint64>(size.width()) * size.height() <= largestArea;
}

// A pipe under the name of a still would never answer. A still of 50 megapixels at best quality
// takes less.
QByteArray usableBytes(const QString &path)
{
    constexpr qint64 largestFile = 128 << 20;
    const QFileInfo info(path);
    if (path.isEmpty() || !info.isFile() || info.size() > largestFile) {
        return {};
    }
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(info.size()) : QByteArray();
}

// The pictures that our own decoder leaves out, as those in shades of grey.
QImage decodedByPlugin(QByteArray bytes, const QSize &size)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, "jpeg");
    reader.setScaledSize(size);
    return reader.read();
}

int scaledSide(int side, int eighths)
{
    return (side * eighths + blockSide - 1) / blockSide;
}

// A size that the decoder gives by itself, without a scaling of its own afterwards.
QSize decodedSize(const QSize &full, const QSize &wanted)
{
    const double share = std::max(static_cast<double>(wanted.width()) / full.width(),
                                  static_cast<double>(wanted.height()) / full.height());
    int eighths = 1;
    while (eighths < blockSide && eighths < share * stillOversampling * blockSide) {
        eighths *= 2;
    }
    return {scaledSide(full.width(), eighths), scaledSide(full.height(), eighths)};
}

} // namespace

QImage readStill(const QString &path, const QSize &wanted)
{
    const QByteArray bytes = wanted.isEmpty() ? QByteArray() : usableBytes(path);
    const QSize full = jpegSize(bytes);
    if (!isUsable(full)) {
        return {};
    }
    const QSize size = decodedSize(full, wanted);
    const QImage picture = decodeJpeg(bytes, size);
    return picture.isNull() ? decodedByPlugin(bytes, size) : picture;
}

QSize readStillSize(const QString &path)
{
    const QSize size = jpegSize(usableBytes(path));
    return isUsable(size) ? size : QSize();
}

} // namespace qv
