#include "shell/color_well.h"

#include "shell/painted_icon_engine.h"
#include "support/localized_strings.h"

#include <QColorDialog>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <utility>

namespace qv
{
namespace
{

constexpr double cornerRadius = 3;
constexpr int frameAlpha = 110;
constexpr int checks = 2; // rows of the checkerboard

void fillChecks(QPainter &painter, const QRectF &rect, const QPalette &palette)
{
    painter.fillRect(rect, palette.color(QPalette::Base));
    const double side = rect.height() / checks;
    const int columns = static_cast<int>(rect.width() / side) + 1;
    for (int row = 0; row < checks; ++row) {
        for (int column = row % 2; column < columns; column += 2) {
            painter.fillRect(
                QRectF(rect.left() + column * side, rect.top() + row * side, side, side),
                palette.color(QPalette::Mid));
        }
    }
}

void drawSwatch(QPainter &painter, const QRectF &rect, const QColor &color, const QPalette &palette)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF inner = rect.adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outline;
    outline.addRoundedRect(inner, cornerRadius, cornerRadius);
    painter.setClipPath(outline);
    if (color.alpha() < 255) {
        fillChecks(painter, inner, palette);
    }
    painter.fillRect(rect, color);
    painter.setClipping(false);
    painter.setBrush(Qt::NoBrush);
    QColor frame = palette.color(QPalette::WindowText);
    frame.setAlpha(frameAlpha);
    painter.setPen(QPen(frame, 1));
    painter.drawPath(outline);
    painter.restore();
}

class SwatchEngine : public PaintedIconEngine
{
public:
    explicit SwatchEngine(std::function<QColor()> color) : m_color(std::move(color)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        painter->save();
        painter->setOpacity(painter->opacity() * (mode == QIcon::Disabled ? 0.5 : 1));
        drawSwatch(*painter, rect, m_color(), QGuiApplication::palette());
        painter->restore();
    }

    QIconEngine *clone() const override { return new SwatchEngine(m_color); }

private:
    std::function<QColor()> m_color;
};

} // namespace

QIcon swatchIcon(std::function<QColor()> color)
{
    return QIcon(new SwatchEngine(std::move(color)));
}

ColorWell::ColorWell(QWidget *parent) : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, &ColorWell::chooseColor);
    describe();
}

void ColorWell::setColor(const QColor &color)
{
    m_color = color.toRgb();
    describe();
    update();
}

QSize ColorWell::sizeHint() const
{
    const int height = fontMetrics().height() + 12;
    return {height * 2, height};
}

void ColorWell::describe()
{
    const QString opacity =
        localized(QStringLiteral("percent")).arg(qRound(m_color.alphaF() * 100));
    setToolTip(m_color.name().toUpper() + QStringLiteral(", ") + opacity);
    setAccessibleDescription(toolTip());
}

void ColorWell::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor line = palette().color(hasFocus() ? QPalette::Highlight : QPalette::WindowText);
    line.setAlpha(hasFocus() ? 255 : frameAlpha / 2);
    painter.setPen(QPen(line, hasFocus() ? 2 : 1));
    painter.setBrush(palette().color(isDown() ? QPalette::Mid : QPalette::Button));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cornerRadius + 2,
                            cornerRadius + 2);
    painter.setOpacity(isEnabled() ? 1 : 0.5);
    drawSwatch(painter, QRectF(rect()).adjusted(5, 5, -5, -5), m_color, palette());
}

void ColorWell::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void ColorWell::chooseColor()
{
    if (m_dialog != nullptr) {
        m_dialog->raise();
        return;
    }
    m_dialog = new QColorDialog(m_color, this);
    m_dialog->setOptions(QColorDialog::ShowAlphaChannel | QColorDialog::DontUseNativeDialog);
    m_dialog->setWindowTitle(accessibleName());
    connect(m_dialog, &QColorDialog::currentColorChanged, this, &ColorWell::choose);
    connect(m_dialog, &QDialog::rejected, this, [this, before = m_color] { choose(before); });
    connect(m_dialog, &QDialog::finished, this, [this] {
        m_dialog->deleteLater();
        m_dialog = nullptr;
    });
    m_dialog->open();
}

void ColorWell::choose(const QColor &color)
{
    if (color.isValid() && color != m_color) {
        setColor(color);
        Q_EMIT colorChosen(m_color);
    }
}

} // namespace qv
