#include "shell/file_chooser.h"

#include "support/localized_strings.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>

namespace qv
{
namespace
{

// Where videos are, when nobody has been anywhere yet.
QString startFolder(const QString &wanted)
{
    if (!wanted.isEmpty() && QFileInfo(wanted).isDir()) {
        return wanted;
    }
    const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return QFileInfo(movies).isDir() ? movies : QDir::homePath();
}

} // namespace

QStringList FileChooser::files(QWidget *window, const QString &title, const QStringList &extensions,
                               const QString &folder)
{
    QStringList patterns;
    for (const QString &extension : extensions) {
        patterns << QStringLiteral("*.") + extension;
    }
    const QString filter = QStringLiteral("%1 (%2)").arg(localized(QStringLiteral("videoFiles")),
                                                         patterns.join(QLatin1Char(' ')));
    return QFileDialog::getOpenFileNames(window, title, startFolder(folder), filter, nullptr,
                                         QFileDialog::HideNameFilterDetails);
}

QString FileChooser::folder(QWidget *window, const QString &title, const QString &folder)
{
    return QFileDialog::getExistingDirectory(window, title, startFolder(folder));
}

} // namespace qv
