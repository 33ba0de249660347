#include "sheet/stills_folder.h"

#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace qv
{

namespace
{

const QString &markName()
{
    static const QString name = QStringLiteral(".quorvantel-stills");
    return name;
}

// With a slash at its end, a link to a folder would pass for the folder.
QString cleaned(const QString &folder)
{
    return folder.isEmpty() ? QString() : QDir::cleanPath(expandTilde(folder));
}

bool isRealFile(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && !info.isSymLink();
}

bool putMark(const QString &folder)
{
    QFile mark(appendPath(folder, markName()));
    return mark.open(QIODevice::WriteOnly);
}

} // namespace

bool isOurStillsFolder(const QString &folder)
{
    const QString path = cleaned(folder);
    return !path.isEmpty() && isRealFolder(path) && isRealFile(appendPath(path, markName()));
}

bool mayUseStillsFolder(const QString &folder)
{
    const QString path = cleaned(folder);
    return !path.isEmpty() && (!standsThere(path) || isOurStillsFolder(path));
}

tl::expected<void, QString> prepareStillsFolder(const QString &folder)
{
    const QString path = cleaned(folder);
    if (!mayUseStillsFolder(path)) {
        return tl::make_unexpected(
            QStringLiteral("a folder or file of this name exists already: %1").arg(path));
    }
    if (standsThere(path) && !rmCocoa(path)) {
        return tl::make_unexpected(QStringLiteral("the folder can't be emptied: %1").arg(path));
    }
    if (!mkdir(path) || !putMark(path)) {
        return tl::make_unexpected(QStringLiteral("the folder can't be made: %1").arg(path));
    }
    return {};
}

bool purgeStillsFolder(const QString &folder)
{
    return isOurStillsFolder(folder) && rmCocoa(cleaned(folder));
}

} // namespace qv
