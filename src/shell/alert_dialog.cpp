#include "shell/alert_dialog.h"

#include "shell/interface_pictures.h"
#include "support/bundle.h"
#include "support/localized_strings.h"

#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QTextDocument>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

constexpr int widestText = 440; // so that the whole stays below 560
constexpr int narrowestInLetters = 24;

QString withoutMnemonic(QString text)
{
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

QFont boldFont(QFont font)
{
    font.setBold(true);
    return font;
}

// What is no failure comes with the application's own picture: an end or a question is no danger.
QIcon styleIcon(AlertStyle style)
{
    return interfacePicture(style == AlertStyle::Critical ? QStringLiteral("alertCritical")
                                                          : QStringLiteral("quorvantel"));
}

} // namespace

WrappedText::WrappedText(const QString &text, const QFont &font, QWidget *parent)
    : QTextEdit(parent)
{
    setFont(font);
    document()->setDefaultFont(font);
    document()->setDocumentMargin(0);
    setPlainText(text);
    setReadOnly(true);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAutoFillBackground(false);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabChangesFocus(true);
    setFocusPolicy(Qt::ClickFocus);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setContextMenuPolicy(Qt::NoContextMenu); // its texts would be in Qt's words
}

int WrappedText::wantedWidth() const
{
    int width = 0;
    for (const QString &line : toPlainText().split(QLatin1Char('\n'))) {
        width = std::max(width, fontMetrics().horizontalAdvance(line) + 1);
    }
    return width;
}

void WrappedText::fit(int width, int tallest)
{
    setLineWrapMode(FixedPixelWidth);
    setLineWrapColumnOrWidth(width);
    const int wanted = static_cast<int>(std::ceil(document()->size().height()));
    const bool scrolls = wanted > tallest;
    setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setFixedSize(width, std::min(wanted, tallest));
}

AlertDialog::AlertDialog(const Alert &alert, QWidget *parent)
    : QDialog(parent), m_title(Alert::shownText(alert.title)),
      m_detail(Alert::shownText(alert.detail)), m_harmless(alert.buttons.harmless())
{
    setWindowTitle(Bundle::main().name());
    setAccessibleName(m_title);
    setAccessibleDescription(m_detail);
    auto *upper = new QHBoxLayout;
    upper->setSpacing(fontMetrics().height());
    upper->addWidget(makeIcon(alert.style), 0, Qt::AlignTop);
    upper->addWidget(makeTexts(alert), 1);
    auto *all = new QVBoxLayout(this);
    const int margin = fontMetrics().height();
    all->setContentsMargins(margin, margin, margin, margin);
    all->setSpacing(margin);
    all->addLayout(upper);
    all->addWidget(makeButtons(alert.buttons.texts()));
    all->setSizeConstraint(QLayout::SetFixedSize);
    if (alert.timeout > 0) {
        reserveCountdown(static_cast<int>(std::ceil(alert.timeout)));
    }
}

QWidget *AlertDialog::makeIcon(AlertStyle style)
{
    const int size = this->style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    auto *picture = new QLabel(this);
    picture->setPixmap(styleIcon(style).pixmap(QSize(size, size), devicePixelRatioF()));
    return picture;
}

QWidget *AlertDialog::makeTexts(const Alert &alert)
{
    auto *column = new QWidget(this);
    auto *rows = new QVBoxLayout(column);
    rows->setContentsMargins(0, 0, 0, 0);
    QList<WrappedText *> texts;
    if (!m_title.isEmpty()) {
        texts.append(new WrappedText(m_title, boldFont(font()), column));
    }
    if (!m_detail.isEmpty()) {
        texts.append(new WrappedText(m_detail, font(), column));
    }
    int width = narrowestInLetters * fontMetrics().averageCharWidth();
    for (const WrappedText *text : texts) {
        width = std::max(width, text->wantedWidth());
    }
    for (WrappedText *text : texts) {
        text->fit(std::min(width, widestText), screen()->availableGeometry().height() / 3);
        rows->addWidget(text);
    }
    if (alert.hasSuppression) {
        const QString title = Alert::shownText(alert.suppressionTitle);
        const QString usual = localized(QStringLiteral("alertSuppress"));
        m_suppression = new QCheckBox(withoutMnemonic(title.isEmpty() ? usual : title), column);
        rows->addWidget(m_suppression);
    }
    rows->addStretch();
    return column;
}

QWidget *AlertDialog::makeButtons(QStringList texts)
{
    if (texts.isEmpty()) {
        texts = {localized(QStringLiteral("alertOk"))};
    }
    auto *row = new QWidget(this);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addStretch();
    for (int i = 0; i < texts.size(); ++i) {
        auto *button = new QPushButton(withoutMnemonic(texts.at(i)), row);
        button->setAccessibleName(texts.at(i));
        connect(button, &QPushButton::clicked, this, [this, i] { click(i); });
        layout->addWidget(button);
        m_buttons.append(button);
    }
    m_defaultText = texts.first();
    m_buttons.first()->setDefault(true);
    m_buttons.first()->setFocus();
    return row;
}

// The button must not change its width while it counts.
void AlertDialog::reserveCountdown(int seconds)
{
    showSecondsLeft(seconds);
    m_buttons.first()->setMinimumWidth(m_buttons.first()->sizeHint().width());
}

void AlertDialog::showSecondsLeft(int seconds)
{
    const QString text = withoutMnemonic(m_defaultText);
    m_buttons.first()->setText(seconds < 0 ? text : text + QStringLiteral(" (%1)").arg(seconds));
}

bool AlertDialog::isSuppressionTicked() const
{
    return m_suppression != nullptr && m_suppression->isChecked();
}

void AlertDialog::click(int index)
{
    m_clicked = index;
    done(QDialog::Accepted);
}

void AlertDialog::done(int result)
{
    m_isOver = true;
    QDialog::done(result);
}

// The user closes it by way of the window manager; an application that ends closes it unanswered.
void AlertDialog::closeEvent(QCloseEvent *event)
{
    if (event->spontaneous()) {
        reject();
    } else {
        done(QDialog::Rejected);
    }
}

void AlertDialog::reject()
{
    click(m_harmless);
}

void AlertDialog::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        QGuiApplication::clipboard()->setText(m_title + QLatin1String("\n\n") + m_detail);
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace qv
