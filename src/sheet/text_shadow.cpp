#include "sheet/text_shadow.h"

#include <QImage>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <vector>

namespace qv
{

namespace
{

constexpr double shadowOpacity = 0.6;
constexpr double shadowOffset = 1.5;
constexpr double shadowRadius = 5;
constexpr std::size_t blurPasses = 3; // three boxes come close to a bell curve
// Thin strokes blur away to a trace; this much more, and the shadow carries them on white.
constexpr int shadowGain = 3;
constexpr double largestRadius = 200;
constexpr int largestMaskSide = 20000;

using BoxRadii = std::array<int, blurPasses>;

// Boxes that together spread like a bell curve whose deviation is half the blur radius. A box of
// radius r has the variance r (r + 1) / 3.
BoxRadii boxRadii(double blurRadius)
{
    const double variance = blurRadius * blurRadius / 4;
    const int small = static_cast<int>((std::sqrt(1 + 4 * variance) - 1) / 2);
    const double missing = variance - small * (small + 1);
    const auto larger = static_cast<std::size_t>(std::lround(missing * 1.5 / (small + 1)));
    BoxRadii radii;
    for (std::size_t pass = 0; pass < blurPasses; ++pass) {
        radii[pass] = pass < larger ? small + 1 : small;
    }
    return radii;
}

// One line of the running mean over 2 x radius + 1 values; beyond the ends lies nothing.
void blurLine(std::vector<int> &line, std::vector<int> &scratch, int radius)
{
    const int length = static_cast<int>(line.size());
    const int window = 2 * radius + 1;
    int sum = 0;
    for (int i = 0; i < std::min(radius, length); ++i) {
        sum += line[static_cast<std::size_t>(i)];
    }
    for (int i = 0; i < length; ++i) {
        sum += i + radius < length ? line[static_cast<std::size_t>(i + radius)] : 0;
        scratch[static_cast<std::size_t>(i)] = sum / window;
        sum -= i - radius >= 0 ? line[static_cast<std::size_t>(i - radius)] : 0;
    }
    line.swap(scratch);
}

// `count` lines of `length` samples, a sample every `step` bytes and a line every `stride`.
void blurLines(uchar *bits, int count, qsizetype stride, int length, qsizetype step,
               const BoxRadii &radii, int gain)
{
    constexpr int opaque = 255;
    constexpr int fraction = 256; // keeps what the means of three passes would round away
    std::vector<int> line(static_cast<std::size_t>(length));
    std::vector<int> scratch(line.size());
    for (int i = 0; i < count; ++i) {
        uchar *sample = bits + i * stride;
        for (int j = 0; j < length; ++j) {
            line[static_cast<std::size_t>(j)] = sample[j * step] * fraction;
        }
        for (const int radius : radii) {
            blurLine(line, scratch, radius);
        }
        for (int j = 0; j < length; ++j) {
            const int value = line[static_cast<std::size_t>(j)] * gain / fraction;
            sample[j * step] = static_cast<uchar>(std::min(value, opaque));
        }
    }
}

void blur(QImage &mask, const BoxRadii &radii)
{
    const qsizetype stride = mask.bytesPerLine();
    uchar *bits = mask.bits();
    blurLines(bits, mask.height(), stride, mask.width(), 1, radii, 1);
    blurLines(bits, mask.width(), 1, mask.height(), stride, radii, shadowGain);
}

QRect maskArea(const QRectF &deviceExtent, int margin, const QRect &visible)
{
    const QRect area = deviceExtent.toAlignedRect().adjusted(-margin, -margin, margin, margin);
    return area.intersected(visible.adjusted(-margin, -margin, margin, margin));
}

} // namespace

void drawShadow(QPainter &painter, const QRectF &extent,
                const std::function<void(QPainter &)> &shape)
{
    const QTransform transform = painter.transform();
    const double scale = std::sqrt(std::abs(transform.determinant()));
    const BoxRadii radii = boxRadii(std::min(shadowRadius * scale, largestRadius));
    const int margin = std::accumulate(radii.begin(), radii.end(), 1);
    const QRect area = maskArea(transform.mapRect(extent), margin, painter.viewport());
    if (area.isEmpty() || area.width() > largestMaskSide || area.height() > largestMaskSide) {
        return;
    }
    QImage mask(area.size(), QImage::Format_Alpha8);
    mask.fill(0);
    QPainter maskPainter(&mask);
    maskPainter.setTransform(transform * QTransform::fromTranslate(-area.x(), -area.y()));
    maskPainter.setPen(Qt::black);
    shape(maskPainter);
    maskPainter.end();
    blur(mask, radii);

    painter.save();
    painter.resetTransform();
    painter.setOpacity(shadowOpacity);
    painter.drawImage(QPointF(area.x(), area.y() + shadowOffset * scale), mask);
    painter.restore();
}

} // namespace qv
