#include "cli/source_list.h"

#include "controller/admission.h"
#include "controller/reasons.h"
#include "support/files.h"
#include "support/foreign_names.h"

#include <QDir>
#include <QFileInfo>

#include <climits>

namespace qv
{
namespace
{

QString absolutePath(const QByteArray &name)
{
    return QDir::cleanPath(usablePath(absoluteName(name)));
}

// "clips/" and "/home/u/clips/a/b.mp4" below "/home/u/clips" give "clips/a/b.mp4".
QString namedBelow(const QString &folderName, const QString &folder, const QString &path)
{
    const QString shown = shownPath(path);
    if (!shown.startsWith(folder) || folderName == folder) {
        return shown;
    }
    const QString below = shown.mid(folder.size());
    return appendPath(folderName, below.startsWith(QLatin1Char('/')) ? below.mid(1) : below);
}

QList<Source> sourcesOfFolder(const QString &name, const QString &folder,
                              const QSet<QString> &extensions)
{
    QList<Source> sources;
    QStringList closed;
    for (const QString &path : withAdmittedExtension(listedBelow(folder, &closed), extensions)) {
        if (!QFileInfo(path).isDir()) {
            sources.append({path, namedBelow(name, folder, path), QString()});
        }
    }
    for (const QString &path : closed) {
        sources.append({path, namedBelow(name, folder, path), reasons::folderClosed});
    }
    if (sources.isEmpty()) {
        sources.append({folder, name, reasons::folderWithoutVideo});
    }
    return sources;
}

Source sourceOfFile(const QString &name, const QString &path, const QSet<QString> &extensions)
{
    QString problem = sourceProblem(path);
    if (problem.isNull() && !extensions.contains(pathExtension(path))) {
        const QString extension = pathExtension(path);
        problem = extension.isEmpty()
                      ? QStringLiteral("its name has no extension that tells a video")
                      : QStringLiteral("'.%1' is no extension of a video that is known here")
                            .arg(extension);
    }
    // One text for both where they are the same: a list may have a hundred thousand.
    return {path, name == path ? path : name, problem};
}

QList<Source> sourcesOf(const QByteArray &raw, const QSet<QString> &extensions)
{
    if (raw.size() >= PATH_MAX) {
        const QString start = QString::fromUtf8(raw.left(PATH_MAX));
        return {{start, start, QStringLiteral("its path is too long for this system")}};
    }
    const QString name = QString::fromUtf8(raw);
    if (name.isEmpty()) {
        return {{QString(), name, QStringLiteral("its name is empty")}};
    }
    const QString given = absolutePath(raw);
    if (QFileInfo(given).isDir()) {
        return sourcesOfFolder(name, given, extensions);
    }
    // An alias stands for what it leads to, as in a drop.
    const QString target = resolveAlias(given);
    if (target.isNull()) {
        return {sourceOfFile(name, given, extensions)};
    }
    return QFileInfo(target).isDir() ? sourcesOfFolder(name, target, extensions)
                                     : QList<Source>{sourceOfFile(name, target, extensions)};
}

} // namespace

QList<Source> listSources(const QByteArrayList &names, const QSet<QString> &admittedExtensions,
                          const std::function<bool()> &isStopped)
{
    QList<Source> sources;
    QSet<QString> seen;
    for (const QByteArray &name : names) {
        if (isStopped && isStopped()) {
            break;
        }
        for (Source &source : sourcesOf(name, admittedExtensions)) {
            if (!seen.contains(source.path)) {
                seen.insert(source.path);
                sources.append(std::move(source));
            }
        }
    }
    return sources;
}

QList<Source> sourcesOfShard(const QList<Source> &sources, const Shard &shard)
{
    QList<Source> part;
    for (qsizetype i = shard.part - 1; i < sources.size(); i += shard.parts) {
        part.append(sources.at(i));
    }
    return part;
}

} // namespace qv
