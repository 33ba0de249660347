#include "shell/sample_stills.h"

#include "sheet/picture_file.h"
#include "support/files.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace qv
{
namespace
{

constexpr double width = sampleStillSize.width();
constexpr double height = sampleStillSize.height();
constexpr double horizon = height * 0.62;

struct Light {
    QColor top;     // of the sky
    QColor horizon; // of the sky
    QColor land;    // what is near
    QColor lamp;    // sun or moon
};

// Dawn, noon, evening, night: the day goes from one to the next.
const std::array<Light, 4> &lights()
{
    static const std::array<Light, 4> day{
        Light{QColor(96, 120, 178), QColor(252, 205, 170), QColor(64, 70, 98),
              QColor(255, 236, 205)},
        Light{QColor(76, 148, 214), QColor(205, 232, 246), QColor(58, 104, 86),
              QColor(255, 252, 232)},
        Light{QColor(92, 74, 138), QColor(252, 158, 98), QColor(58, 44, 66), QColor(255, 214, 140)},
        Light{QColor(16, 24, 54), QColor(62, 82, 128), QColor(12, 18, 34), QColor(236, 240, 250)}};
    return day;
}

QColor between(const QColor &a, const QColor &b, double share)
{
    const auto mix = [share](int from, int to) {
        return static_cast<int>(std::lround(from + (to - from) * share));
    };
    return {mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue())};
}

Light lightAt(double dayTime)
{
    const double place = dayTime * static_cast<double>(lights().size() - 1);
    const std::size_t from = std::min(static_cast<std::size_t>(place), lights().size() - 2);
    const Light &a = lights()[from];
    const Light &b = lights()[from + 1];
    const double share = place - static_cast<double>(from);
    return {between(a.top, b.top, share), between(a.horizon, b.horizon, share),
            between(a.land, b.land, share), between(a.lamp, b.lamp, share)};
}

QPointF lampPlace(double dayTime)
{
    return {width * (0.14 + 0.72 * dayTime),
            horizon * (0.86 - 0.66 * std::sin(dayTime * std::numbers::pi))};
}

void paintSky(QPainter &painter, const Light &light, const QPointF &lamp)
{
    QLinearGradient sky(0, 0, 0, horizon);
    sky.setColorAt(0, light.top);
    sky.setColorAt(1, light.horizon);
    painter.fillRect(QRectF(0, 0, width, height), sky);
    QRadialGradient glow(lamp, height * 0.5);
    QColor soft = light.lamp;
    soft.setAlpha(110);
    glow.setColorAt(0, soft);
    soft.setAlpha(0);
    glow.setColorAt(1, soft);
    painter.fillRect(QRectF(0, 0, width, height), glow);
    painter.setPen(Qt::NoPen);
    painter.setBrush(light.lamp);
    painter.drawEllipse(lamp, height * 0.05, height * 0.05);
}

// A line of hills: waves of several lengths over each other.
QPainterPath ridge(double base, double rise, double phase)
{
    constexpr int steps = 96;
    QPainterPath path(QPointF(0, height));
    for (int i = 0; i <= steps; ++i) {
        const double x = static_cast<double>(i) / steps;
        const double wave = 0.6 * std::sin(x * 5.1 + phase) + 0.3 * std::sin(x * 11.7 + phase * 2) +
                            0.1 * std::sin(x * 31 + phase * 3);
        path.lineTo(x * width, base - rise * (0.5 + 0.5 * wave));
    }
    path.lineTo(width, height);
    path.closeSubpath();
    return path;
}

void paintHills(QPainter &painter, const Light &light, double phase)
{
    constexpr int rows = 4;
    for (int row = 0; row < rows; ++row) {
        const double near = static_cast<double>(row + 1) / rows;
        painter.setBrush(between(light.horizon, light.land, 0.25 + 0.75 * near));
        painter.drawPath(ridge(horizon + (height - horizon) * near * 0.75,
                               height * (0.26 - 0.14 * near), phase + row * 1.9));
    }
}

void paintSea(QPainter &painter, const Light &light, const QPointF &lamp, double phase)
{
    QLinearGradient water(0, horizon, 0, height);
    water.setColorAt(0, between(light.horizon, light.top, 0.35));
    water.setColorAt(1, between(light.land, light.top, 0.3));
    painter.fillRect(QRectF(0, horizon, width, height - horizon), water);
    QColor glitter = light.lamp;
    constexpr int waves = 26;
    for (int i = 0; i < waves; ++i) {
        const double near = static_cast<double>(i) / waves;
        glitter.setAlpha(static_cast<int>(150 * (1 - near)));
        painter.setBrush(glitter);
        const double broad = width * (0.03 + 0.07 * near) * (1.3 + std::sin(i * 2.3 + phase));
        painter.drawRoundedRect(QRectF(lamp.x() - broad + 40 * near * std::sin(i * 1.7 + phase),
                                       horizon + 4 + (height - horizon) * near, 2 * broad, 3),
                                1.5, 1.5);
    }
}

void paintTree(QPainter &painter, double x, double foot, double high)
{
    QPainterPath tree(QPointF(x, foot - high));
    tree.lineTo(x + high * 0.2, foot);
    tree.lineTo(x - high * 0.2, foot);
    tree.closeSubpath();
    painter.drawPath(tree);
}

void paintForest(QPainter &painter, const Light &light, double phase)
{
    painter.setBrush(between(light.horizon, light.land, 0.4));
    painter.drawPath(ridge(horizon + 20, height * 0.2, phase));
    constexpr int rows = 3;
    for (int row = 1; row <= rows; ++row) {
        const double near = static_cast<double>(row) / rows;
        painter.setBrush(between(light.horizon, light.land, 0.4 + 0.6 * near));
        const double step = 26 + 22 * near;
        for (double x = -step; x < width + step; x += step) {
            const double sway = std::sin(x * 0.7 + phase + row);
            paintTree(painter, x + 9 * sway, horizon + 60 + 120 * near,
                      height * (0.14 + 0.14 * near) * (1 + 0.3 * sway));
        }
        painter.drawRect(QRectF(0, horizon + 58 + 120 * near, width, height));
    }
}

} // namespace

QImage sampleStill(int index)
{
    const double dayTime = static_cast<double>(index) / (sampleStillCount - 1);
    const double phase = index * 1.37;
    const Light light = lightAt(std::clamp(dayTime, 0.0, 1.0));
    const QPointF lamp = lampPlace(dayTime);
    QImage still(sampleStillSize, QImage::Format_RGB32);
    QPainter painter(&still);
    painter.setRenderHint(QPainter::Antialiasing);
    paintSky(painter, light, lamp);
    switch (index % 3) {
    case 0:
        paintHills(painter, light, phase);
        break;
    case 1:
        paintSea(painter, light, lamp, phase);
        break;
    default:
        paintForest(painter, light, phase);
        break;
    }
    return still;
}

SampleStills::SampleStills(QObject *parent) : QObject(parent)
{
    connect(&m_idle, &QTimer::timeout, this, &SampleStills::makeNext);
}

QString SampleStills::path(int index) const
{
    return appendPath(m_folder, QString::asprintf("sample%02d.jpg", index % sampleStillCount));
}

QString SampleStills::smallPath(int index) const
{
    return appendPath(m_folder, QString::asprintf("small%02d.jpg", index % sampleStillCount));
}

void SampleStills::make(const QString &folder)
{
    if (isUnderWay()) {
        return;
    }
    m_folder = folder;
    m_made = 0;
    mkdir(m_folder);
    m_idle.start(0);
}

void SampleStills::makeNext()
{
    const QImage still = sampleStill(m_made);
    const QImage small =
        still.scaled(smallStillSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (!writePicture(still, path(m_made)) || !writePicture(small, smallPath(m_made))) {
        m_idle.stop();
        Q_EMIT failed();
        return;
    }
    ++m_made;
    if (areThere()) {
        m_idle.stop();
        Q_EMIT ready();
    }
}

} // namespace qv
