#include "sheet/stills_folder.h"

#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

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

bool hasMark(const QString &folder, const QString &mark)
{
    const QString path = appendPath(folder, markName());
    QFile file(path);
    return !mark.isEmpty() && isRealFolder(folder) && isRealFile(path) &&
           file.open(QIODevice::ReadOnly) && file.read(mark.size() + 1) == mark.toUtf8();
}

bool putMark(const QString &folder, const QString &mark)
{
    QFile file(appendPath(folder, markName()));
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
           file.write(mark.toUtf8()) == mark.toUtf8().size() && file.flush();
}

} // namespace

QString newStillsMark()
{
    return QUuid::createUuid().toString(QUuid::Id128);
}

bool mayUseStillsFolder(const QString &folder, const QString &mark)
{
    const QString path = cleaned(folder);
    return !path.isEmpty() && (!standsThere(path) || hasMark(path, mark));
}

tl::expected<void, QString> prepareStillsFolder(const QString &folder, const QString &mark)
{
    const QString path = cleaned(folder);
    if (!mayUseStillsFolder(path, mark)) {
        return tl::make_unexpected(
            QStringLiteral("a folder or file of this name exists already: %1").arg(path));
    }
    if (standsThere(path) && !rmCocoa(path)) {
        return tl::make_unexpected(QStringLiteral("the folder can't be emptied: %1").arg(path));
    }
    if (!mkdir(path) || !putMark(path, mark)) {
        return tl::make_unexpected(QStringLiteral("the folder can't be made: %1").arg(path));
    }
    return {};
}

bool purgeStillsFolder(const QString &folder, const QString &mark)
{
    const QString path = cleaned(folder);
    return !path.isEmpty() && hasMark(path, mark) && rmCocoa(path);
}

} // namespace qv
