#include "controller/destination.h"

#include "settings/preferences_store.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <sys/stat.h>

namespace qv
{
namespace
{

const QString ownName = QStringLiteral("Quorvantel");

// The standard folder is made with the first sheet.
bool isStandardFolder(const QString &path)
{
    const QString standard = expandTilde(
        PreferencesStore::prefsDefaults().value(QStringLiteral("prefDefautDstPathStr")).toString());
    return path == standard || path + QLatin1Char('/') == standard;
}

// Makes the folder if it is missing and tries to write there: 0, or the error number.
int writingError(const QString &folder)
{
    const QByteArray name = QFile::encodeName(folder);
    if (::mkdir(name.constData(), 0777) != 0 && errno != EEXIST) {
        return errno;
    }
    if (!QFileInfo(folder).isDir()) {
        return ENOTDIR;
    }
    QTemporaryFile probe(appendPath(folder, QStringLiteral(".quorvantel-XXXXXX.part")));
    errno = 0;
    if (probe.open()) {
        return 0;
    }
    return errno != 0 ? errno : EACCES;
}

DestinationProblem problem(const QString &titleKey, const QString &whyKey, const QString &folder)
{
    const QString why =
        whyKey.isEmpty() ? QString()
                         : localized(whyKey) + QLatin1Char('\n') + folder + QStringLiteral("\n\n");
    return {localized(titleKey), why + localized(QStringLiteral("D_go_dossier_destination3"))};
}

DestinationProblem noFolder(const QString &whyKey, const QString &folder = {})
{
    return problem(QStringLiteral("D_go_dossier_destination1"), whyKey, folder);
}

std::optional<DestinationProblem> unwritable(const QString &folder, int error)
{
    QString why;
    switch (error) {
    case 0:
    case ENOSPC:
    case EDQUOT:
        return std::nullopt;
    case ENOTDIR:
        why = QStringLiteral("destinationTaken");
        break;
    case EROFS:
        why = QStringLiteral("destinationReadOnly");
        break;
    default:
        why = QStringLiteral("destinationLocked");
    }
    return problem(QStringLiteral("destinationUnwritable"), why, folder);
}

} // namespace

QString sheetFolder(const QString &destination)
{
    const QString folder = expandTilde(destination);
    if (folder.isEmpty() || folder.endsWith(ownName) ||
        folder.endsWith(ownName + QLatin1Char('/'))) {
        return folder;
    }
    return appendPath(folder, ownName);
}

DestinationState destinationState(const QString &destination)
{
    const QString path = expandTilde(destination);
    const QFileInfo chosen(path);
    if (path.isEmpty() || !chosen.exists()) {
        return isStandardFolder(path) ? DestinationState::WillBeMade : DestinationState::Missing;
    }
    if (!chosen.isDir()) {
        return DestinationState::NoFolder;
    }
    const QFileInfo sheets(sheetFolder(path));
    const bool isWritable =
        sheets.exists() ? sheets.isDir() && sheets.isWritable() : chosen.isWritable();
    return isWritable ? DestinationState::Usable : DestinationState::Locked;
}

std::optional<DestinationProblem> prepareDestination(const QString &destination,
                                                     const QString &sheets)
{
    const QString path = expandTilde(destination);
    if (destinationState(path) == DestinationState::WillBeMade) {
        mkdir(path);
    }
    switch (destinationState(path)) {
    case DestinationState::WillBeMade:
    case DestinationState::Missing:
        return path.isEmpty() ? noFolder({}) : noFolder(QStringLiteral("destinationMissing"), path);
    case DestinationState::NoFolder:
        return noFolder(QStringLiteral("destinationIsFile"), path);
    case DestinationState::Usable:
    case DestinationState::Locked:
        break;
    }
    return sheets.isEmpty() ? std::nullopt : unwritable(sheets, writingError(sheets));
}

} // namespace qv
