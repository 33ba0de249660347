#include "shell/file_chooser.h"

#include "support/localized_strings.h"

#include <QFileDialog>

namespace qv
{

QStringList FileChooser::files(QWidget *window, const QString &title, const QStringList &extensions,
                               const QString &folder)
{
    QStringList patterns;
    for (const QString &extension : extensions) {
        patterns << QStringLiteral("*.") + extension;
    }
    const QString filter = QStringLiteral("%1 (%2)").arg(localized(QStringLiteral("videoFiles")),
                                                         patterns.join(QLatin1Char(' ')));
    return QFileDialog::getOpenFileNames(window, title, folder, filter);
}

QString FileChooser::folder(QWidget *window, const QString &title, const QString &folder)
{
    return QFileDialog::getExistingDirectory(window, title, folder);
}

} // namespace qv
