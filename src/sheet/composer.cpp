#include "sheet/composer.h"

#include "settings/color_text.h"
#include "settings/preferences_store.h"
#include "sheet/caption_texts.h"
#include "sheet/layout.h"
#include "sheet/picture_file.h"
#include "sheet/sheet_painter.h"
#include "sheet/still_reader.h"
#include "sheet/text_painter.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace qv
{

namespace
{

constexpr double mixLevel = 0.4;
constexpr double clearDifference = 0.4;
constexpr double grey = 0.5;
constexpr double lightGrey = 2.0 / 3.0;
constexpr double largestBitmapSide = 65000;

// How a picture choice turns into a file.
struct Output {
    double canvasScale;
    double bitmapScale; // device pixels a canvas pixel
    double resolution;  // pixels an inch
};

Output outputOf(int dpi)
{
    return dpi == 0 ? Output{1.0, 0.75, 72} : Output{1.5, 1.0, 250};
}

QColor greyColor(double level)
{
    return QColor::fromRgbF(static_cast<float>(level), static_cast<float>(level),
                            static_cast<float>(level));
}

float mixed(float component, float target)
{
    return component + (target - component) * static_cast<float>(mixLevel);
}

QColor mixedWith(const QColor &color, float target)
{
    return QColor::fromRgbF(mixed(color.redF(), target), mixed(color.greenF(), target),
                            mixed(color.blueF(), target), mixed(color.alphaF(), 1.0F));
}

CaptionColors bothColors(const QColor &color)
{
    return {color, color};
}

// Without a border to lean on.
CaptionColors colorsOnBackground(double background)
{
    if (background <= 0.5) {
        return bothColors(Qt::white);
    }
    if (background >= 0.9) {
        return {greyColor(lightGrey), greyColor(grey)};
    }
    return bothColors(Qt::black);
}

void traceBrightness(const char *what, double level)
{
    logDebug([&] {
        return QStringLiteral("rgba average %1 : %2")
            .arg(QString::fromLatin1(what), fixedText(level, 6));
    });
}

QColor colorIn(const QVariantMap &display, const QString &key)
{
    const std::optional<ColorComponents> color = colorFromText(stringIn(display, key));
    if (!color) {
        return {};
    }
    return QColor::fromRgbF(static_cast<float>(color->red), static_cast<float>(color->green),
                            static_cast<float>(color->blue), static_cast<float>(color->alpha));
}

std::vector<SheetCaption> captionsIn(const QVariantMap &display)
{
    std::vector<SheetCaption> captions;
    for (const QString &key : captionLineKeys()) {
        const QString text = stringIn(display, key);
        if (!text.isNull()) {
            captions.push_back({key, text});
        }
    }
    return captions;
}

SheetContent contentOf(const QVariantMap &display)
{
    SheetContent content;
    content.stills = display.value(QStringLiteral("th")).toStringList();
    content.timecodes = mapIn(display, QStringLiteral("timecode"));
    content.title = stringIn(display, QStringLiteral("name"));
    content.captions = captionsIn(display);
    const QColor background = colorIn(display, QStringLiteral("bkgColor"));
    content.background = background.isValid() ? background : QColor(Qt::white);
    const QColor border = colorIn(display, QStringLiteral("borderColor"));
    content.border = border.isValid() ? border : greyColor(lightGrey);
    content.text = captionColors(content.background, border);
    return content;
}

SheetGeometry geometryOf(const QVariantMap &display, double scale)
{
    SheetMeasures measures;
    const int unknownLayout = -1;
    measures.layout =
        sheetLayout(intIn(display, QStringLiteral("bigMedMinMix")).value_or(unknownLayout));
    measures.scale = scale;
    measures.borderSize = numberIn(display, QStringLiteral("borderSize")).value_or(0);
    if (measures.borderSize > largestBorderSize) {
        logLine(QStringLiteral("borderSize          :-( %1, drawn as %2")
                    .arg(fixedText(measures.borderSize, 2), fixedText(largestBorderSize, 0)));
    }
    measures.pictures = static_cast<int>(display.value(QStringLiteral("th")).toStringList().size());
    measures.captionLines = static_cast<int>(captionsIn(display).size());
    measures.stillWidth = numberIn(display, QStringLiteral("wTh")).value_or(0);
    measures.stillHeight = numberIn(display, QStringLiteral("hTh")).value_or(0);
    return sheetGeometry(measures);
}

// Empty when no bitmap can be that high.
QSize bitmapSize(const SheetGeometry &geometry, const Output &output)
{
    const double high = geometry.height * output.bitmapScale;
    if (!(high <= largestBitmapSide)) {
        return {};
    }
    return {static_cast<int>(geometry.width * output.bitmapScale),
            std::max(1, static_cast<int>(high))};
}

struct RenderedSheet {
    QImage bitmap;
    int drawn = 0;
};

tl::expected<RenderedSheet, QString> renderSheet(const Output &output, const QVariantMap &display)
{
    const SheetContent content = contentOf(display);
    const SheetGeometry geometry = geometryOf(display, output.canvasScale);
    const QSize size = bitmapSize(geometry, output);
    if (size.isEmpty()) {
        return tl::make_unexpected(
            QStringLiteral("the sheet would be %1 pixels high; %2 is the most a picture can have")
                .arg(fixedText(geometry.height * output.bitmapScale, 0),
                     fixedText(largestBitmapSide, 0)));
    }
    RenderedSheet sheet;
    // Cut to whole device pixels, so that both directions are scaled alike.
    const QSizeF canvas(geometry.width, size.height() / output.bitmapScale);
    const Drawing drawing{
        canvas, [&](QPainter &painter) { sheet.drawn = paintSheet(painter, geometry, content); }};
    sheet.bitmap = imgRender(drawing, size.width(), size.height(), output.resolution, false);
    if (sheet.bitmap.isNull()) {
        return tl::make_unexpected(
            QStringLiteral("there is not enough memory for a sheet of %1 x %2 pixels")
                .arg(size.width())
                .arg(size.height()));
    }
    return sheet;
}

QImage drawnSheet(const Output &output, const QVariantMap &display, int *drawn)
{
    const tl::expected<RenderedSheet, QString> sheet = renderSheet(output, display);
    if (drawn) {
        *drawn = sheet ? sheet->drawn : 0;
    }
    return sheet ? sheet->bitmap : QImage();
}

// Without the slashes at its end, which would turn the extension into a file name of its own.
QString destinationBase(const QVariantMap &display)
{
    const QString path = stringIn(display, QStringLiteral("dstPathStr"));
    return path.isEmpty() ? QString() : QDir::cleanPath(expandTilde(path));
}

tl::expected<ComposedSheet, QString> composed(int dpi, const QVariantMap &display,
                                              const std::optional<Provenance> &provenance)
{
    const QString base = destinationBase(display);
    if (base.isEmpty() || !QFileInfo(base).isDir()) {
        return tl::make_unexpected(
            QStringLiteral("the folder of the stills is missing: %1").arg(base));
    }
    const auto sheet = renderSheet(outputOf(dpi), display);
    if (!sheet) {
        return tl::make_unexpected(sheet.error());
    }
    const QString path = QStringLiteral("%1.%2").arg(base, sheetExtension(dpi));
    const QByteArray packet = provenance ? xmpPacket(*provenance) : QByteArray();
    if (const auto written = writePicture(sheet->bitmap, path, packet); !written) {
        return tl::make_unexpected(
            QStringLiteral("the sheet can't be written: %1: %2").arg(path, written.error()));
    }
    return ComposedSheet{path, sheet->drawn};
}

} // namespace

double brightness(const QColor &color)
{
    // Colours hold sixteen bits a component; without rounding, a colour given as 0.95 would count
    // as a little less.
    constexpr double steps = 10000;
    const double mean = (color.redF() + color.greenF() + color.blueF()) / 3.0;
    return std::round(color.alphaF() * mean * steps) / steps;
}

CaptionColors captionColors(const QColor &background, const QColor &border)
{
    constexpr double rounding = 1e-9;
    const double behind = brightness(background);
    const double around = border.isValid() ? brightness(border) : behind;
    traceBrightness("bkg   ", behind);
    traceBrightness("border", around);
    CaptionColors colors;
    if (std::abs(behind - around) >= clearDifference - rounding) {
        colors = bothColors(border);
    } else if (around > behind) {
        colors = bothColors(mixedWith(border, 1.0F));
    } else if (behind > around) {
        colors = bothColors(behind >= 0.95 ? greyColor(grey) : mixedWith(border, 0.0F));
    } else {
        colors = colorsOnBackground(behind);
    }
    traceBrightness("txt   ", brightness(colors.main));
    return colors;
}

QString sheetExtension(int dpi)
{
    return dpi == 0 ? QStringLiteral("jpg") : QStringLiteral("png");
}

void prepareSheet(const QVariantMap &display)
{
    QStringList texts{stringIn(display, QStringLiteral("name"))};
    for (const SheetCaption &caption : captionsIn(display)) {
        texts << localized(caption.key) << caption.text;
    }
    prepareTexts();
    loadFontsFor(texts);
}

QSize sheetPixels(int dpi, const QVariantMap &display)
{
    const Output output = outputOf(dpi);
    return bitmapSize(geometryOf(display, output.canvasScale), output);
}

QSize usefulStillSize(int dpi, const QVariantMap &display)
{
    const Output output = outputOf(dpi);
    const SheetGeometry geometry = geometryOf(display, output.canvasScale);
    const QSize planned(intIn(display, QStringLiteral("wTh")).value_or(0),
                        intIn(display, QStringLiteral("hTh")).value_or(0));
    const QSizeF largest = geometry.cell.expandedTo(geometry.hero.size());
    const QSize useful = (largest * output.bitmapScale * stillOversampling).toSize();
    return useful.isEmpty() || planned.isEmpty() || useful.width() >= planned.width()
               ? planned
               : QSize(useful.width(),
                       std::max(1, planned.height() * useful.width() / planned.width()));
}

QImage drawSheetAtWidth(int dpi, const QVariantMap &display, int width, int *drawn)
{
    Output output = outputOf(dpi);
    const double canvas = geometryOf(display, output.canvasScale).width;
    output.bitmapScale = width / canvas;
    return drawnSheet(output, display, drawn);
}

tl::expected<ComposedSheet, QString> sheetPicture(int dpi, const QVariantMap &display,
                                                  const std::optional<Provenance> &provenance)
{
    const auto sheet = composed(dpi, display, provenance);
    logLine(QStringLiteral("isSuccess           :-%1 img %2.jpg")
                .arg(sheet ? QStringLiteral(")") : QStringLiteral("("), destinationBase(display)));
    if (!sheet) {
        logLine(QStringLiteral("sheetPicture        :-( %1").arg(sheet.error()));
    }
    return sheet;
}

} // namespace qv
