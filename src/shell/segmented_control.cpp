#include "shell/segmented_control.h"

#include <QAbstractButton>
#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace qv
{
namespace
{

constexpr int cornerRadius = 6;
constexpr int padding = 12;
constexpr int smallestPadding = 6;
constexpr int iconGap = 6;
constexpr int smallestWidth = 34;

// One of them; draws itself as a part of the row's common frame.
class Segment : public QAbstractButton
{
public:
    explicit Segment(QWidget *parent) : QAbstractButton(parent)
    {
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
        setIconSize({18, 18});
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    }

    void setEnds(bool first, bool last)
    {
        m_first = first;
        m_last = last;
        update();
    }

    QSize sizeHint() const override
    {
        const QFontMetrics metrics = fontMetrics();
        const int textWidth = text().isEmpty() ? 0 : metrics.horizontalAdvance(text());
        const int iconWidth = icon().isNull() ? 0 : iconSize().width();
        const int gap = textWidth > 0 && iconWidth > 0 ? iconGap : 0;
        return {std::max(smallestWidth, textWidth + iconWidth + gap + 2 * padding),
                std::max(metrics.height(), iconSize().height()) + 12};
    }
    QSize minimumSizeHint() const override
    {
        const QSize whole = sizeHint();
        return {std::max(smallestWidth, whole.width() - 2 * (padding - smallestPadding)),
                whole.height()};
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QPainterPath outline = frame();
        painter.setPen(QPen(borderColor(), 1));
        painter.setBrush(fillColor());
        painter.drawPath(outline);
        drawContent(painter);
    }

    // Left and right go to the neighbours, as in any group of choices.
    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
            const bool forward =
                (event->key() == Qt::Key_Right) == (layoutDirection() == Qt::LeftToRight);
            moveFocus(forward ? 1 : -1);
            return;
        }
        QAbstractButton::keyPressEvent(event);
    }

    // Arrows may have moved the focus away from the selected segment.
    void focusOutEvent(QFocusEvent *event) override
    {
        QAbstractButton::focusOutEvent(event);
        static_cast<SegmentedControl *>(parentWidget())->placeTabStop();
    }

private:
    void moveFocus(int step)
    {
        const QList<QAbstractButton *> all = group()->buttons();
        const qsizetype next = all.indexOf(this) + step;
        if (next >= 0 && next < all.size()) {
            all.at(next)->setFocus(Qt::TabFocusReason);
        }
    }

    // Round only where the row ends; neighbours share their border line.
    QPainterPath frame() const
    {
        const QRectF r = QRectF(rect()).adjusted(m_first ? 0.5 : -0.5, 0.5, -0.5, -0.5);
        QPainterPath path;
        path.setFillRule(Qt::WindingFill);
        path.addRoundedRect(r, cornerRadius, cornerRadius);
        if (!m_first) {
            path.addRect(QRectF(r.left(), r.top(), cornerRadius, r.height()));
        }
        if (!m_last) {
            path.addRect(QRectF(r.right() - cornerRadius, r.top(), cornerRadius, r.height()));
        }
        return path.simplified();
    }

    QColor fillColor() const
    {
        const QPalette colors = palette();
        if (isChecked()) {
            return isEnabled() ? colors.color(QPalette::Highlight)
                               : colors.color(QPalette::Disabled, QPalette::Mid);
        }
        QColor fill = colors.color(QPalette::Button);
        if (isDown()) {
            return fill.darker(115);
        }
        const bool dark = fill.lightness() < 128;
        return isEnabled() && underMouse() ? (dark ? fill.lighter(125) : fill.darker(106)) : fill;
    }

    QColor borderColor() const
    {
        QColor text = palette().color(QPalette::WindowText);
        text.setAlpha(70);
        return text;
    }

    void drawContent(QPainter &painter)
    {
        const QPalette::ColorGroup state = isEnabled() ? QPalette::Active : QPalette::Disabled;
        painter.setPen(palette().color(state, isChecked() && isEnabled() ? QPalette::HighlightedText
                                                                         : QPalette::ButtonText));
        const int iconWidth = icon().isNull() ? 0 : iconSize().width();
        const int textWidth = text().isEmpty() ? 0 : fontMetrics().horizontalAdvance(text());
        const int gap = iconWidth > 0 && textWidth > 0 ? iconGap : 0;
        int x = (width() - iconWidth - textWidth - gap) / 2;
        if (iconWidth > 0) {
            const QRect place(x, (height() - iconSize().height()) / 2, iconWidth,
                              iconSize().height());
            icon().paint(&painter, place, Qt::AlignCenter,
                         isEnabled() ? QIcon::Normal : QIcon::Disabled,
                         isChecked() ? QIcon::On : QIcon::Off);
            x += iconWidth + gap;
        }
        painter.drawText(QRect(x, 0, textWidth + 1, height()), Qt::AlignVCenter | Qt::AlignLeft,
                         text());
    }

    bool m_first = true;
    bool m_last = true;
};

} // namespace

SegmentedControl::SegmentedControl(Mode mode, QWidget *parent)
    : QWidget(parent), m_mode(mode), m_row(new QHBoxLayout(this))
{
    m_row->setContentsMargins(0, 0, 0, 0);
    m_row->setSpacing(0);
    setFocusPolicy(Qt::ClickFocus); // by a label's shortcut
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    m_group.setExclusive(mode == Mode::SelectOne);
    connect(&m_group, &QButtonGroup::idClicked, this, &SegmentedControl::clicked);
    connect(&m_group, &QButtonGroup::idToggled, this, &SegmentedControl::placeTabStop);
}

int SegmentedControl::addSegment(const QString &text, const QIcon &icon, const QString &name)
{
    auto *segment = new Segment(this);
    segment->setCheckable(m_mode == Mode::SelectOne);
    segment->setText(text);
    segment->setIcon(icon);
    const int index = count();
    m_group.addButton(segment, index);
    m_row->addWidget(segment);
    setName(index, name);
    updateEnds();
    placeTabStop();
    return index;
}

int SegmentedControl::count() const
{
    return static_cast<int>(m_group.buttons().size());
}

QList<QWidget *> SegmentedControl::segments() const
{
    QList<QWidget *> all;
    for (int i = 0; i < count(); ++i) {
        all.append(m_group.button(i));
    }
    return all;
}

QString SegmentedControl::text(int segment) const
{
    const QAbstractButton *button = m_group.button(segment);
    return button == nullptr ? QString() : button->text();
}

void SegmentedControl::setText(int segment, const QString &text)
{
    if (QAbstractButton *button = m_group.button(segment)) {
        button->setText(text);
        button->updateGeometry();
    }
}

QString SegmentedControl::name(int segment) const
{
    const QAbstractButton *button = m_group.button(segment);
    return button == nullptr ? QString() : button->toolTip();
}

void SegmentedControl::setName(int segment, const QString &name)
{
    if (QAbstractButton *button = m_group.button(segment)) {
        button->setToolTip(name);
        button->setAccessibleName(name);
    }
}

void SegmentedControl::setIcon(int segment, const QIcon &icon)
{
    if (QAbstractButton *button = m_group.button(segment)) {
        button->setIcon(icon);
    }
}

void SegmentedControl::setSegmentEnabled(int segment, bool enabled)
{
    if (QAbstractButton *button = m_group.button(segment)) {
        button->setEnabled(enabled);
        placeTabStop();
    }
}

int SegmentedControl::selectedSegment() const
{
    return m_group.checkedId();
}

void SegmentedControl::selectSegment(int segment)
{
    if (QAbstractButton *button = m_group.button(segment)) {
        button->setChecked(true);
    } else if (QAbstractButton *checked = m_group.checkedButton()) {
        // An exclusive group keeps one checked by itself.
        m_group.setExclusive(false);
        checked->setChecked(false);
        m_group.setExclusive(m_mode == Mode::SelectOne);
    }
}

void SegmentedControl::placeTabStop()
{
    if (m_mode == Mode::Momentary || isAncestorOf(QApplication::focusWidget())) {
        return;
    }
    for (QAbstractButton *segment : m_group.buttons()) {
        segment->setFocusPolicy(Qt::ClickFocus);
    }
    if (QAbstractButton *stop = tabStop()) {
        stop->setFocusPolicy(Qt::StrongFocus);
    }
}

// The selected segment, or the first one that is enabled; null when there is none.
QAbstractButton *SegmentedControl::tabStop() const
{
    const QList<QAbstractButton *> all = m_group.buttons();
    QAbstractButton *checked = m_group.checkedButton();
    const auto stop = std::find_if(all.begin(), all.end(), [&](const QAbstractButton *segment) {
        return segment->isEnabled() && (checked == nullptr || segment == checked);
    });
    return stop == all.end() ? nullptr : *stop;
}

void SegmentedControl::focusInEvent(QFocusEvent *event)
{
    if (QAbstractButton *stop = tabStop()) {
        stop->setFocus(event->reason());
    }
}

void SegmentedControl::updateEnds()
{
    const QList<QAbstractButton *> all = m_group.buttons();
    for (qsizetype i = 0; i < all.size(); ++i) {
        static_cast<Segment *>(all.at(i))->setEnds(i == 0, i + 1 == all.size());
    }
}

} // namespace qv
