#include "shell/destination_field.h"

#include "settings/preferences_store.h"
#include "shell/readable.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QPushButton>
#include <QStyle>
#include <QUrl>

namespace qv
{
namespace
{

constexpr int longestPath = 4096;

QString stateText(FolderState state)
{
    switch (state) {
    case FolderState::Usable:
        return localized(QStringLiteral("prefFolderUsable"));
    case FolderState::WillBeMade:
        return localized(QStringLiteral("prefFolderWillBeMade"));
    case FolderState::Missing:
        return localized(QStringLiteral("prefFolderMissing"));
    case FolderState::NoFolder:
        return localized(QStringLiteral("prefFolderIsNone"));
    case FolderState::Locked:
        break;
    }
    return localized(QStringLiteral("prefFolderLocked"));
}

bool isGood(FolderState state)
{
    return state == FolderState::Usable || state == FolderState::WillBeMade;
}

// The standard folder is made when the first sheet needs it.
bool isStandardFolder(const QString &path)
{
    const QString standard =
        PreferencesStore::prefsDefaults().value(QStringLiteral("prefDefautDstPathStr")).toString();
    return path == standard || path + QLatin1Char('/') == standard;
}

} // namespace

FolderState folderState(const QString &path)
{
    const QString full = expandTilde(path);
    const QFileInfo info(full);
    if (full.isEmpty() || !info.exists()) {
        return isStandardFolder(full) ? FolderState::WillBeMade : FolderState::Missing;
    }
    if (!info.isDir()) {
        return FolderState::NoFolder;
    }
    return info.isWritable() ? FolderState::Usable : FolderState::Locked;
}

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
    grid->addWidget(m_edit, 0, 0, 1, 3);
    grid->addWidget(m_choose, 0, 3);
    grid->addWidget(m_mark, 1, 0);
    grid->addWidget(m_state, 1, 1);
    grid->addWidget(m_repeated, 1, 2, 1, 2);
    grid->setColumnStretch(2, 1);
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

void DestinationField::check()
{
    const FolderState state = folderState(text());
    m_mark->setVisible(!isGood(state));
    m_state->setText(stateText(state));
    m_repeated->setWholeText(text());
    m_edit->setToolTip(m_repeated->toolTip());
    m_edit->setAccessibleDescription(m_state->text());
}

// A folder dropped onto the field comes as an address.
void DestinationField::textChanged(const QString &text)
{
    if (text.startsWith(QLatin1String("file:///"))) {
        m_edit->setText(QUrl(text.trimmed()).toLocalFile());
        return;
    }
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
