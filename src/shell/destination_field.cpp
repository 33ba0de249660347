#include "shell/destination_field.h"

#include "controller/destination.h"
#include "shell/readable.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QStyle>
#include <QUrl>

namespace qv
{
namespace
{

constexpr int longestPath = 4096;

QString stateText(DestinationState state)
{
    switch (state) {
    case DestinationState::Usable:
        return localized(QStringLiteral("prefFolderUsable"));
    case DestinationState::WillBeMade:
        return localized(QStringLiteral("prefFolderWillBeMade"));
    case DestinationState::Missing:
        return localized(QStringLiteral("prefFolderMissing"));
    case DestinationState::NoFolder:
        return localized(QStringLiteral("prefFolderIsNone"));
    case DestinationState::Locked:
        break;
    }
    return localized(QStringLiteral("prefFolderLocked"));
}

bool isGood(DestinationState state)
{
    return state == DestinationState::Usable || state == DestinationState::WillBeMade;
}

} // namespace

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setWholeText(const QString &text)
{
    m_text = text;
    setToolTip(plainToolTip(text));
    setAccessibleName(text);
    setText(fontMetrics().elidedText(text, Qt::ElideMiddle, width()));
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

QSize ElidedLabel::sizeHint() const
{
    return minimumSizeHint();
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    setText(fontMetrics().elidedText(m_text, Qt::ElideMiddle, width()));
}

DestinationField::DestinationField(QWidget *parent)
    : QWidget(parent), m_edit(new QLineEdit(this)),
      m_choose(new QPushButton(QStringLiteral("@@prefChoose"), this)), m_mark(new QLabel(this)),
      m_state(new QLabel(this)), m_repeated(new ElidedLabel(this))
{
    m_edit->setMaxLength(longestPath);
    m_choose->setAutoDefault(false);
    m_state->setTextFormat(Qt::PlainText);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_mark->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(side));
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(m_edit, 0, 0);
    grid->addWidget(m_choose, 0, 1);
    auto *state = new QHBoxLayout;
    state->addWidget(m_mark);
    state->addWidget(m_state);
    state->addWidget(m_repeated, 1);
    grid->addLayout(state, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    connect(m_edit, &QLineEdit::textChanged, this, &DestinationField::textChanged);
    connect(m_choose, &QPushButton::clicked, this, &DestinationField::chooseFolder);
    check();
}

QString DestinationField::text() const
{
    return m_edit->text();
}

void DestinationField::setText(const QString &text)
{
    m_edit->setText(text);
    m_edit->setCursorPosition(0);
    check();
}

QString DestinationField::warning() const
{
    return m_mark->isVisibleTo(this) ? m_state->text() : QString();
}

void DestinationField::showMissing(const QString &savedFolder)
{
    m_missing = savedFolder;
    check();
}

void DestinationField::check()
{
    if (!m_missing.isNull()) {
        show(localized(QStringLiteral("prefFolderSavedMissing")), m_missing, true);
        return;
    }
    const DestinationState state = destinationState(text());
    const bool isUsable = isGood(state);
    show(stateText(state), isUsable ? sheetFolder(text()) : text(), !isUsable);
}

void DestinationField::show(const QString &state, const QString &folder, bool isWarning)
{
    m_mark->setVisible(isWarning);
    m_state->setText(state);
    m_repeated->setWholeText(folder);
    m_edit->setToolTip(plainToolTip(text()));
    m_edit->setAccessibleDescription(state + QLatin1Char(' ') + folder);
}

// A folder dropped onto the field comes as an address.
void DestinationField::textChanged(const QString &text)
{
    if (text.startsWith(QLatin1String("file:///"))) {
        m_edit->setText(QUrl(text.trimmed()).toLocalFile());
        return;
    }
    m_missing = QString();
    check();
    Q_EMIT changed();
}

void DestinationField::chooseFolder()
{
    const QString start = expandTilde(text());
    auto *dialog = new QFileDialog(this, m_edit->accessibleName(),
                                   QFileInfo(start).isDir() ? start : QDir::homePath());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    connect(dialog, &QFileDialog::fileSelected, this, &DestinationField::setText);
    dialog->open();
}

} // namespace qv
