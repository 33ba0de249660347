#include "support/deletion_guard.h"

#include "support/files.h"
#include "support/log.h"
#include "support/platform.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>

namespace qv
{
namespace
{

// The homes themselves, their ancestors, and everything that reads as a leading piece of them.
QStringList protectedHomes()
{
    const QString home = fichier_dirname(QStringLiteral("~/Movies"));
    return {home, QFileInfo(home).canonicalFilePath(),
            QStringLiteral("/Users/") + platform::loginName()};
}

bool touchesHome(const QString &path)
{
    // A path with a slash at its end is tried without it and without the letter before it, so that
    // a misspelt home is protected too.
    const QString tried =
        path.endsWith(QLatin1Char('/')) ? path.left(std::max<qsizetype>(path.size() - 2, 0)) : path;
    const QStringList homes = protectedHomes();
    return std::any_of(homes.cbegin(), homes.cend(),
                       [&](const QString &home) { return home.contains(tried); });
}

// What stands directly in these is a system folder, a mounted disk or somebody's whole home.
bool isDirectChildOfGuarded(const QString &path)
{
    static const QStringList guarded = {QStringLiteral("/"),      QStringLiteral("/Volumes"),
                                        QStringLiteral("/Users"), QStringLiteral("/home"),
                                        QStringLiteral("/media"), QStringLiteral("/run/media")};
    return guarded.contains(fichier_dirname(path));
}

bool isWildcard(const QString &path)
{
    return path.startsWith(QLatin1Char('*')) || path.startsWith(QLatin1String("/*"));
}

bool isRefused(const QString &path)
{
    if (touchesHome(path)) {
        return true;
    }
    if (path.startsWith(QLatin1String("/KVSauthoring"))) { // the authoring scratch area
        return false;
    }
    if (isDirectChildOfGuarded(path) || platform::isMountPoint(path)) {
        logLine(QStringLiteral("alerte de sécurité dirname"));
        return true;
    }
    if (isWildcard(path)) {
        logLine(QStringLiteral("alerte de sécurité joker"));
        return true;
    }
    return false;
}

QString cleaned(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// The folder's links resolved, but not the item's own: deleting a link leaves its target alone.
QString resolved(const QString &path)
{
    const QFileInfo item(cleaned(path));
    const QString folder = QFileInfo(item.path()).canonicalFilePath();
    return folder.isEmpty() ? item.filePath() : appendPath(folder, item.fileName());
}

} // namespace

bool deletionIsAllowed(const QString &path)
{
    return !isRefused(path) && !isRefused(cleaned(path)) && !isRefused(resolved(path));
}

} // namespace qv
