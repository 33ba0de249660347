#include "shell/drop_view.h"

#include "shell/busy_wheel.h"
#include "shell/dropped_paths.h"
#include "shell/interface_pictures.h"

#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

namespace qv
{
namespace
{

constexpr int largestImage = 132;
constexpr int smallestImage = 40; // a smaller one is left out
constexpr int cornerRadius = 14;

QLabel *makeLabel(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    return label;
}

} // namespace

dragNDropView::dragNDropView(QWidget *parent)
    : QWidget(parent), m_image(new QLabel(this)),
      m_dropCaption(makeLabel(QStringLiteral("@@dropCaption"), this)),
      m_dropHint(makeLabel(QStringLiteral("@@dropHint"), this)), m_activity(new QWidget(this)),
      m_actionCaption(makeLabel(QStringLiteral("@@analysisCaption"), m_activity)),
      m_analysisCaption(makeLabel(QString(), m_activity)), m_wheel(new BusyWheel(m_activity)),
      m_stop(new QToolButton(m_activity))
{
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("@@dropCaption"));
    setAccessibleDescription(QStringLiteral("@@dropHint"));
    m_image->setAlignment(Qt::AlignCenter);
    m_image->setMinimumHeight(0);
    m_image->setMaximumHeight(largestImage);
    m_image->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_dropHint->setForegroundRole(QPalette::PlaceholderText);
    m_analysisCaption->setForegroundRole(QPalette::PlaceholderText);
    m_actionCaption->setWordWrap(false);
    m_analysisCaption->setWordWrap(false);
    m_stop->setIcon(interfacePicture(QStringLiteral("btStop")));
    m_stop->setAutoRaise(true);
    m_stop->setToolTip(QStringLiteral("@@analysisStop"));
    m_stop->setAccessibleName(QStringLiteral("@@analysisStop"));
    m_stop->setObjectName(QStringLiteral("analysisStopBt"));
    connect(m_stop, &QToolButton::clicked, this, &dragNDropView::stopRequested);

    auto *activity = new QHBoxLayout(m_activity);
    activity->setContentsMargins(0, 0, 0, 0);
    activity->addStretch();
    activity->addWidget(m_wheel);
    activity->addWidget(m_actionCaption);
    activity->addWidget(m_analysisCaption);
    activity->addWidget(m_stop);
    activity->addStretch();

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(24, 10, 24, 10);
    column->setSpacing(6);
    column->addStretch();
    column->addWidget(m_image, largestImage);
    column->addWidget(m_dropCaption);
    column->addWidget(m_dropHint);
    column->addWidget(m_activity);
    column->addStretch();
    m_image->installEventFilter(this);
    fitFonts();
    show(WindowState());
}

QSize dragNDropView::sizeHint() const
{
    return {420, 300};
}

void dragNDropView::setImage(const QString &name)
{
    if (name == m_imageName) {
        return;
    }
    m_imageName = name;
    fitImage();
}

// Where the window is low the picture gives way to the words.
void dragNDropView::fitImage()
{
    const int side = m_image->height();
    m_image->setPixmap(
        side < smallestImage
            ? QPixmap()
            : interfacePicture(m_imageName).pixmap(QSize(side, side), devicePixelRatioF()));
}

bool dragNDropView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_image && event->type() == QEvent::Resize) {
        fitImage();
    }
    return QWidget::eventFilter(watched, event);
}

void dragNDropView::show(const WindowState &window)
{
    setImage(window.dropImage);
    m_dropCaption->setVisible(window.dropCaptionShown);
    m_dropHint->setVisible(window.dropCaptionShown);
    m_activity->setVisible(window.actionCaptionShown);
    m_analysisCaption->setText(window.analysisCaption);
    m_wheel->setSpinning(window.analysisWheel);
    m_stop->setVisible(window.analysisStopShown);
    m_stop->setEnabled(window.analysisStopEnabled);
}

void dragNDropView::setHovered(bool hovered)
{
    if (m_hovered != hovered) {
        m_hovered = hovered;
        update();
    }
}

void dragNDropView::fitFonts()
{
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    large.setWeight(QFont::DemiBold);
    m_dropCaption->setFont(large);
}

void dragNDropView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange) {
        fitFonts();
    }
    QWidget::changeEvent(event);
}

void dragNDropView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool marked = m_hovered && m_accepts;
    QColor fill = palette().color(marked ? QPalette::Highlight : QPalette::Base);
    if (marked) {
        fill.setAlpha(38);
    }
    QColor line = palette().color(marked || hasFocus() ? QPalette::Highlight : QPalette::Mid);
    QPen pen(line, marked ? 2 : 1.5);
    if (!marked) {
        pen.setDashPattern({5, 4});
    }
    painter.setPen(pen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cornerRadius, cornerRadius);
}

void dragNDropView::dragEnterEvent(QDragEnterEvent *event)
{
    if (m_accepts && mayHoldPaths(*event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        setHovered(true);
    }
}

void dragNDropView::dragLeaveEvent(QDragLeaveEvent *)
{
    setHovered(false);
}

void dragNDropView::dropEvent(QDropEvent *event)
{
    setHovered(false);
    if (!m_accepts) {
        return;
    }
    const QStringList paths = pathsIn(*event->mimeData());
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (paths.isEmpty()) {
        Q_EMIT nothingDropped();
    } else {
        Q_EMIT performDrag(paths);
    }
}

void dragNDropView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
        Q_EMIT openRequested();
    }
}

void dragNDropView::keyPressEvent(QKeyEvent *event)
{
    const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const bool opens = event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
                       event->key() == Qt::Key_Enter;
    if (isPlain && opens) {
        Q_EMIT openRequested();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace qv
