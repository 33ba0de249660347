#include "shell/focus_ring.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QProxyStyle>

namespace qv
{
namespace
{

constexpr int lineWidth = 2;
constexpr int margin = 2; // around the widget; half of the line lies there
constexpr int cornerRadius = 5;

class RingStyle : public QProxyStyle
{
public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *result) const override
    {
        return hint == SH_FocusFrame_AboveWidget
                   ? 1
                   : QProxyStyle::styleHint(hint, option, widget, result);
    }
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override
    {
        const bool isMargin = metric == PM_FocusFrameVMargin || metric == PM_FocusFrameHMargin;
        return isMargin ? margin : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

class Ring : public QFocusFrame
{
public:
    Ring()
    {
        auto *style = new RingStyle;
        style->setParent(this);
        setStyle(style);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::WindowText), lineWidth));
        const double half = lineWidth / 2.0;
        painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), cornerRadius,
                                cornerRadius);
    }
};

// Popups show by themselves which of their items is the current one.
bool isFramed(const QWidget *widget)
{
    return !widget->isWindow() && widget->window()->windowType() != Qt::Popup;
}

} // namespace

FocusRing::FocusRing(QObject *parent) : QObject(parent)
{
    qApp->installEventFilter(this);
}

FocusRing::~FocusRing()
{
    delete m_frame;
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        m_byKeyboard = true;
        break;
    case QEvent::MouseButtonPress:
        m_byKeyboard = false;
        frame(nullptr);
        break;
    case QEvent::FocusIn:
        if (watched->isWidgetType()) {
            auto *widget = static_cast<QWidget *>(watched);
            frame(m_byKeyboard && isFramed(widget) ? widget : nullptr);
        }
        break;
    default:
        break;
    }
    return false;
}

void FocusRing::frame(QWidget *widget)
{
    if (widget == framed()) {
        return;
    }
    delete m_frame;
    if (widget != nullptr) {
        m_frame = new Ring;
        m_frame->setWidget(widget);
    }
}

} // namespace qv
