#include "shell/update_window.h"

#include "shell/interface_pictures.h"
#include "shell/readable.h"
#include "shell/reason_text.h"
#include "shell/screen_fit.h"
#include "support/bundle.h"
#include "support/localized_strings.h"
#include "updater/release_notes.h"
#include "updater/updater.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace qv
{
namespace
{

constexpr int iconSize = 56;
constexpr int progressSteps = 1000;
constexpr qsizetype longestPlainPage = 200'000; // characters

QLabel *plainLabel()
{
    auto *label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QHBoxLayout *rowIn(QWidget *widget, int spacing)
{
    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing);
    return row;
}

QString shownSize(qint64 bytes)
{
    return QLocale(language()).formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

} // namespace

// ---- the release notes

NotesBrowser::NotesBrowser(QWidget *parent) : QTextBrowser(parent)
{
    setOpenLinks(false);
    setOpenExternalLinks(false);
    document()->setDocumentMargin(10);
    connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl &address) {
        const QString scheme = address.scheme().toLower();
        if (scheme == QLatin1String("http") || scheme == QLatin1String("https")) {
            Q_EMIT linkClicked(address);
        }
    });
}

QVariant NotesBrowser::loadResource(int, const QUrl &)
{
    return {};
}

void NotesBrowser::showPage(const WebPage &page)
{
    const QString text = page.text();
    if (page.contentType.startsWith(QLatin1String("text/plain"), Qt::CaseInsensitive)) {
        setPlainText(text.left(longestPlainPage));
    } else {
        setHtml(safeNotes(text));
    }
}

// ---- the sheet

UpdateWindow::UpdateWindow(QWidget *parent)
    : QDialog(parent, Qt::Sheet), m_heading(plainLabel()), m_running(plainLabel()),
      m_status(plainLabel()), m_notes(new NotesBrowser), m_address(new QLineEdit),
      m_bar(new QProgressBar), m_amount(plainLabel()),
      m_cancel(new QPushButton(QStringLiteral("@@updateCancelDownload"))),
      m_buttons(new SegmentedControl(SegmentedControl::Mode::Momentary))
{
    setWindowTitle(QStringLiteral("@@updateWindow"));
    setObjectName(QStringLiteral("updateWindow"));
    m_notes->setObjectName(QStringLiteral("updateNotes"));
    m_notes->setAccessibleName(QStringLiteral("@@updateNotes"));
    m_status->setObjectName(QStringLiteral("updateStatus"));
    m_progress = makeProgress();
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 16);
    column->setSpacing(12);
    column->addWidget(makeHead());
    column->addWidget(m_notes, 1);
    column->addWidget(m_status);
    column->addWidget(m_progress);
    column->addWidget(makeFoot());
    resize(QSize(620, 540).boundedTo(largestOnScreen(*this)));
    connect(m_notes, &NotesBrowser::linkClicked, this, &UpdateWindow::linkClicked);
    connect(m_cancel, &QPushButton::clicked, this, &UpdateWindow::cancelClicked);
    connect(m_buttons, &SegmentedControl::clicked, this, &UpdateWindow::segmentClicked);
    setPhase(UpdatePhase::Offered);
}

QWidget *UpdateWindow::makeHead()
{
    auto *head = new QWidget;
    auto *row = rowIn(head, 16);
    auto *icon = new QLabel;
    icon->setPixmap(windowIcon().pixmap(iconSize));
    icon->setVisible(!windowIcon().isNull());
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * 1.35);
    large.setBold(true);
    m_heading->setFont(large);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_heading);
    texts->addWidget(m_running);
    row->addWidget(icon);
    row->addLayout(texts, 1);
    return head;
}

QWidget *UpdateWindow::makeProgress()
{
    auto *progress = new QWidget;
    auto *row = rowIn(progress, 12);
    m_bar->setTextVisible(false);
    m_bar->setObjectName(QStringLiteral("updateProgress"));
    m_amount->setWordWrap(false);
    m_amount->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    // The bar keeps its length while the numbers change.
    const QString wide = shownSize(888'800'000);
    const QString widest = localized(QStringLiteral("updateProgress")).arg(wide, wide);
    m_amount->setMinimumWidth(m_amount->fontMetrics().horizontalAdvance(widest));
    m_cancel->setObjectName(QStringLiteral("updateCancel"));
    m_cancel->setAutoDefault(false);
    row->addWidget(m_bar, 1);
    row->addWidget(m_amount);
    row->addWidget(m_cancel);
    QSizePolicy policy = progress->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    progress->setSizePolicy(policy);
    return progress;
}

QWidget *UpdateWindow::makeFoot()
{
    auto *foot = new QWidget;
    auto *row = rowIn(foot, 8);
    auto *label = new QLabel(QStringLiteral("@@updateAddress"));
    label->setBuddy(m_address);
    m_address->setReadOnly(true);
    m_address->setObjectName(QStringLiteral("updateAddress"));
    m_buttons->setObjectName(QStringLiteral("updateButtons"));
    m_buttons->addSegment(QStringLiteral("@@updateClose"));
    m_buttons->addSegment(QStringLiteral("@@updateDownload"));
    row->addWidget(label);
    row->addWidget(m_address, 1);
    row->addSpacing(12);
    row->addWidget(m_buttons);
    return foot;
}

void UpdateWindow::showOffer(const UpdateOffer &offer)
{
    m_heading->setText(localized(QStringLiteral("updateHeading")).arg(oneLine(offer.version)));
    m_running->setText(localized(QStringLiteral("updateRunning")).arg(Bundle::main().version()));
    m_address->setText(oneLine(offer.address));
    m_address->setCursorPosition(0);
    m_address->setToolTip(plainToolTip(offer.address));
    m_notes->clear();
    m_mayDownload = offer.refusal.isNull();
    setPhase(UpdatePhase::Offered);
    if (!isVisible()) {
        open();
        focusMainButton();
    }
}

void UpdateWindow::focusMainButton()
{
    const int main = m_mayDownload ? Updater::downloadSegment : Updater::closeSegment;
    m_buttons->segments().at(main)->setFocus();
}

void UpdateWindow::setStatus(const QString &status)
{
    m_status->setText(status);
    m_status->setVisible(!status.isEmpty());
}

// The focus goes to its new place before the old one is disabled, or it would wander.
void UpdateWindow::setPhase(UpdatePhase phase)
{
    m_phase = phase;
    const bool isIdle = phase == UpdatePhase::Offered;
    m_bar->setRange(0, 0);
    m_amount->clear();
    m_firstBytes = -1;
    m_cancel->setEnabled(phase == UpdatePhase::Downloading || phase == UpdatePhase::Checking);
    if (isIdle) {
        setButtonsEnabled(true);
        focusMainButton();
        m_progress->hide();
    } else {
        m_progress->show();
        m_notes->setFocus();
        setButtonsEnabled(false);
    }
    if (phase == UpdatePhase::Downloading) {
        m_timeLeft.start();
        m_cancel->setFocus();
    } else {
        m_timeLeft.stop();
    }
    if (phase == UpdatePhase::Installing) {
        setStatus(localized(QStringLiteral("updateInstalling")));
    }
}

void UpdateWindow::setButtonsEnabled(bool areEnabled)
{
    m_buttons->setSegmentEnabled(Updater::downloadSegment, areEnabled && m_mayDownload);
    m_buttons->setSegmentEnabled(Updater::closeSegment, areEnabled);
}

void UpdateWindow::setProgress(qint64 received, qint64 total)
{
    if (total <= 0) {
        m_bar->setRange(0, 0);
        m_amount->setText(shownSize(received));
        return;
    }
    m_firstBytes = m_firstBytes < 0 ? received : m_firstBytes;
    m_bar->setRange(0, progressSteps);
    m_bar->setValue(static_cast<int>(double(received) / double(total) * progressSteps));
    QString amount =
        localized(QStringLiteral("updateProgress")).arg(shownSize(received), shownSize(total));
    const double wanted = double(total - m_firstBytes);
    const auto left = m_timeLeft.seconds(wanted > 0 ? double(received - m_firstBytes) / wanted : 0);
    if (left) {
        amount += QStringLiteral(" · ") + timeLeftText(*left);
    }
    m_amount->setText(amount);
}

void UpdateWindow::showNotes(const tl::expected<WebPage, QString> &page)
{
    if (page) {
        m_notes->showPage(*page);
    } else {
        m_notes->setPlainText(
            localized(QStringLiteral("updateNoNotes")).arg(reasonText(page.error())));
    }
}

void UpdateWindow::reject()
{
    switch (m_phase) {
    case UpdatePhase::Offered:
        Q_EMIT segmentClicked(Updater::closeSegment);
        break;
    case UpdatePhase::Downloading:
    case UpdatePhase::Checking:
        Q_EMIT cancelClicked();
        break;
    case UpdatePhase::Placing:
    case UpdatePhase::Installing:
        break;
    }
}

// Return presses the button that has the focus, and the sheet's main one from everywhere else.
void UpdateWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
        QDialog::keyPressEvent(event);
        return;
    }
    auto *button = qobject_cast<QAbstractButton *>(focusWidget());
    QWidget *download = m_buttons->segments().at(Updater::downloadSegment);
    if (button != nullptr) {
        button->click();
    } else if (download->isEnabled()) {
        Q_EMIT segmentClicked(Updater::downloadSegment);
    }
}

} // namespace qv
