#include "published/image_export.h"

#include "published/image_encoders.h"
#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <algorithm>
#include <optional>

namespace qv
{

namespace
{

enum class Fit { Stretch = 0, Bands = 1, Crop = 2, Inside = -1, Cover = -2 };

QByteArray encodeByPlugin(const QImage &bitmap, const QByteArray &format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return QImageWriter(&buffer, format).write(bitmap) ? buffer.data() : QByteArray();
}

// `part` of the picture over `target`. Scaled by area first, since a painter's own scaling skips
// pixels of much larger pictures.
void drawPart(QImage &bitmap, const QRect &target, const QImage &picture, const QRect &part)
{
    const QImage source = part == picture.rect() ? picture : picture.copy(part);
    QImage scaled = source.scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(1);
    QPainter(&bitmap).drawImage(target.topLeft(), scaled);
}

QImage withoutAlpha(const QImage &bitmap)
{
    if (!bitmap.hasAlphaChannel()) {
        return bitmap;
    }
    QImage opaque(bitmap.size(), QImage::Format_RGB32);
    opaque.fill(Qt::black);
    opaque.setDotsPerMeterX(bitmap.dotsPerMeterX());
    opaque.setDotsPerMeterY(bitmap.dotsPerMeterY());
    opaque.setColorSpace(bitmap.colorSpace());
    QPainter(&opaque).drawImage(QPoint(), bitmap);
    return opaque;
}

bool isSheetFormat(const QString &type)
{
    return type == QLatin1String("jpg") || type == QLatin1String("jpeg") ||
           type == QLatin1String("png");
}

// In a format that sheets don't have, by the file's extension in lower case.
QByteArray encoded(const QImage &bitmap, const QString &type)
{
    if (type == QLatin1String("gif")) {
        return encodeGif(bitmap);
    }
    if (type == QLatin1String("tif") || type == QLatin1String("tiff")) {
        return encodeByPlugin(bitmap, "tiff");
    }
    const QImage opaque = withoutAlpha(bitmap);
    if (type == QLatin1String("jp2") || type == QLatin1String("jpx")) {
        return encodeJpeg2000(opaque);
    }
    return encodeByPlugin(opaque, type == QLatin1String("bmp") ? "bmp" : "jpeg");
}

bool keepsTransparency(const QString &path)
{
    const QString type = pathExtension(path).toLower();
    return type == QLatin1String("png") || type == QLatin1String("gif") ||
           type == QLatin1String("tif") || type == QLatin1String("tiff");
}

QImage readPicture(const QString &path)
{
    if (!QFileInfo(path).isFile()) {
        return {};
    }
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (size.isValid() && !isPictureSize(size.width(), size.height())) {
        return {};
    }
    return reader.read();
}

std::optional<Fit> fitOf(int mode)
{
    if (mode < static_cast<int>(Fit::Cover) || mode > static_cast<int>(Fit::Crop)) {
        return {};
    }
    return static_cast<Fit>(mode);
}

double fitFactor(Fit fit, const QSize &source, const QSize &box)
{
    const double horizontal = static_cast<double>(source.width()) / box.width();
    const double vertical = static_cast<double>(source.height()) / box.height();
    const bool whole = fit == Fit::Bands || fit == Fit::Inside;
    return whole ? std::max(horizontal, vertical) : std::min(horizontal, vertical);
}

// Truncated, but not below the pixel that a whole quotient falls short of by rounding.
QSize divided(const QSize &size, double factor)
{
    constexpr double roundingSlack = 1e-9;
    const auto side = [&](int length) {
        const double quotient = length / factor;
        const double bounded =
            std::min(quotient * (1 + roundingSlack), double(largestPictureSide) + 1);
        return std::max(1, static_cast<int>(bounded));
    };
    return {side(size.width()), side(size.height())};
}

QRect centered(const QSize &inner, const QSize &outer)
{
    const QPoint offset((outer.width() - inner.width()) / 2, (outer.height() - inner.height()) / 2);
    return {offset, inner};
}

QImage renderWithBands(const QImage &picture, const QSize &box, double factor, double resolution,
                       bool keepTransparency)
{
    QImage bitmap = emptyBitmap(box.width(), box.height(), resolution, keepTransparency);
    if (!bitmap.isNull()) {
        const QRect target = centered(divided(picture.size(), factor).boundedTo(box), box);
        for (const auto *form : {"dstOffset=%1:%2 (dst=%3*%4)", "%1:%2:%3:%4"}) {
            logDebug([&] {
                return QString::fromLatin1(form)
                    .arg(target.x())
                    .arg(target.y())
                    .arg(target.width())
                    .arg(target.height());
            });
        }
        drawPart(bitmap, target, picture, picture.rect());
    }
    return bitmap;
}

QImage renderCropped(const QImage &picture, const QSize &box, double factor, double resolution,
                     bool keepTransparency)
{
    QImage bitmap = emptyBitmap(box.width(), box.height(), resolution, keepTransparency);
    if (!bitmap.isNull()) {
        const QSize shown = divided(box, 1 / factor).boundedTo(picture.size());
        const QRect part = centered(shown, picture.size());
        logDebug([&] {
            return QStringLiteral("dstOffset=0:0 (dst=%1*%2) -> srcOffset=%3:%4 (src=%5*%6)")
                .arg(box.width())
                .arg(box.height())
                .arg(part.x())
                .arg(part.y())
                .arg(part.width())
                .arg(part.height());
        });
        drawPart(bitmap, bitmap.rect(), picture, part);
    }
    return bitmap;
}

QImage renderFitted(const QImage &picture, Fit fit, const QSize &box, double resolution,
                    bool keepTransparency)
{
    if (fit == Fit::Stretch) {
        return imgRender(picture, box.width(), box.height(), resolution, keepTransparency);
    }
    const double factor = fitFactor(fit, picture.size(), box);
    const QSize fitted = divided(picture.size(), factor);
    logDebug([&] {
        return QStringLiteral("f=%1, src = %2 x %3 -> dst = %4 x %5")
            .arg(fixedText(factor, 6))
            .arg(picture.width())
            .arg(picture.height())
            .arg(fitted.width())
            .arg(fitted.height());
    });
    switch (fit) {
    case Fit::Bands:
        return renderWithBands(picture, box, factor, resolution, keepTransparency);
    case Fit::Crop:
        return renderCropped(picture, box, factor, resolution, keepTransparency);
    default:
        return imgRender(picture, fitted.width(), fitted.height(), resolution, keepTransparency);
    }
}

} // namespace

QImage imgRender(const QImage &picture, int width, int height, double resolution,
                 bool keepTransparency)
{
    QImage bitmap = emptyBitmap(width, height, resolution, keepTransparency);
    if (!bitmap.isNull() && !picture.isNull()) {
        drawPart(bitmap, bitmap.rect(), picture, picture.rect());
    }
    return bitmap;
}

tl::expected<void, QString> imgWrite(const QImage &bitmap, const QString &path,
                                     const QByteArray &xmpPacket)
{
    const QString type = pathExtension(path).toLower();
    if (bitmap.isNull() || isSheetFormat(type)) {
        return writePicture(bitmap, path, xmpPacket);
    }
    return writeEncoded(encoded(bitmap, type), path);
}

bool imgExport(const QString &source, const QString &destination, int width, int height,
               double resolution, int mode)
{
    const QString file = expandTilde(source);
    logDebug([&] {
        const QString exists = QString::number(QFileInfo::exists(file) ? 1 : 0);
        return QStringLiteral("imgExport - deb : %1 = %2").arg(file, exists);
    });
    const std::optional<Fit> fit = fitOf(mode);
    if (!fit || !isPictureSize(width, height)) {
        return false;
    }
    const QImage picture = readPicture(file);
    if (picture.isNull()) {
        return false;
    }
    logDebug([&] {
        return QStringLiteral("img size : %1 x %2").arg(picture.width()).arg(picture.height());
    });
    const bool transparency = keepsTransparency(destination);
    const QImage bitmap =
        renderFitted(picture, *fit, QSize(width, height), resolution, transparency);
    const QString rep = QStringLiteral("rep=%1 x %2").arg(bitmap.width()).arg(bitmap.height());
    if (*fit != Fit::Stretch) {
        logDebug([&] { return rep; });
    }
    logDebug([&] { return QStringLiteral("modeInt=%1, %2").arg(QString::number(mode), rep); });
    return imgWrite(bitmap, destination).has_value();
}

bool imgSwatch(const QColor &color, const QString &path, int width, int height)
{
    const Drawing swatch{QSizeF(100, 100), [&](QPainter &painter) {
                             painter.fillRect(QRectF(0, 0, 100, 100), color);
                         }};
    const bool transparency = keepsTransparency(path);
    return imgWrite(imgRender(swatch, width, height, 0, transparency), path).has_value();
}

} // namespace qv
