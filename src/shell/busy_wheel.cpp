#include "shell/busy_wheel.h"

#include <QPainter>

namespace qv
{
namespace
{

constexpr int spokes = 12;
constexpr int turnMilliseconds = 1000;

} // namespace

BusyWheel::BusyWheel(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_timer.setInterval(turnMilliseconds / spokes);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % spokes;
        update();
    });
}

void BusyWheel::setSpinning(bool spinning)
{
    if (spinning == isSpinning()) {
        return;
    }
    if (spinning) {
        m_timer.start();
    } else {
        m_timer.stop();
    }
    update();
}

QSize BusyWheel::sizeHint() const
{
    const int side = fontMetrics().height() + 4;
    return {side, side};
}

void BusyWheel::paintEvent(QPaintEvent *)
{
    if (!isSpinning()) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const double radius = std::min(width(), height()) / 2.0 - 1;
    QColor color = palette().color(QPalette::WindowText);
    for (int i = 0; i < spokes; ++i) {
        const int age = (m_step - i + spokes) % spokes;
        color.setAlphaF(static_cast<float>(0.75 * (1.0 - age / double(spokes)) + 0.08));
        painter.setPen(QPen(color, radius * 0.2, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(i * 360.0 / spokes);
        painter.drawLine(QPointF(0, -radius * 0.55), QPointF(0, -radius * 0.92));
        painter.restore();
    }
}

} // namespace qv
