#include "cli/source_list.h"

#include "controller/admission.h"
#include "controller/reasons.h"
#include "support/files.h"
#include "support/foreign_names.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <iterator>

namespace qv
{
namespace
{

// Cleaned as bytes first: a link to a name that is no text stands for one spelling of it.
QString absolutePath(const QByteArray &name)
{
    const std::filesystem::path path(absoluteName(name).toStdString());
    return QDir::cleanPath(usablePath(QByteArray::fromStdString(path.lexically_normal().string())));
}

// "clips/" and "/home/u/clips/a/b.mp4" below "/home/u/clips" give "clips/a/b.mp4".
QByteArray namedBelow(const QByteArray &folderName, const QString &folder, const QString &path)
{
    const QByteArray raw = rawPath(path);
    const QByteArray root = rawPath(folder);
    if (!raw.startsWith(root) || folderName == root) {
        return raw;
    }
    qsizetype below = root.size();
    while (below < raw.size() && raw.at(below) == '/') {
        ++below;
    }
    const bool isApart = below == raw.size() || folderName.endsWith('/');
    return folderName + (isApart ? "" : "/") + raw.mid(below);
}

QList<Source> sourcesOfFolder(const QByteArray &name, const QString &folder,
                              const QSet<QString> &extensions)
{
    QList<Source> sources;
    QStringList closed;
    for (const QString &path : withAdmittedExtension(listedBelow(folder, &closed), extensions)) {
        if (!QFileInfo(path).isDir()) {
            sources.append({path, namedBelow(name, folder, path), linkProblem(path)});
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

Source sourceOfFile(const QByteArray &name, const QString &path)
{
    QString problem = absoluteName(name).isValidUtf8() ? QString() : linkProblem(path);
    if (problem.isNull()) {
        problem = sourceProblem(path);
    }
    return {path, name, problem};
}

QList<Source> sourcesOf(const QByteArray &name, const QSet<QString> &extensions)
{
    if (name.size() >= PATH_MAX) {
        const QByteArray start = name.left(PATH_MAX);
        return {{QString::fromUtf8(start), start,
                 QStringLiteral("its path is too long for this system")}};
    }
    if (name.isEmpty()) {
        return {{QString(), name, QStringLiteral("its name is empty")}};
    }
    const QString given = absolutePath(name);
    if (QFileInfo(given).isDir()) {
        return sourcesOfFolder(name, given, extensions);
    }
    // An alias stands for what it leads to, as in a drop.
    const QString target = resolveAlias(given);
    if (target.isNull()) {
        return {sourceOfFile(name, given)};
    }
    return QFileInfo(target).isDir() ? sourcesOfFolder(name, target, extensions)
                                     : QList<Source>{sourceOfFile(name, target)};
}

} // namespace

QString linkProblem(const QString &path)
{
    return path.contains(QChar::ReplacementCharacter) && !standsThere(path)
               ? QStringLiteral("its name is not valid UTF-8, and no link to it could be made in "
                                "the temporary folder")
               : QString();
}

QList<Source> listSources(const QByteArrayList &names, const QSet<QString> &admittedExtensions,
                          const std::function<bool()> &isStopped)
{
    QList<Source> sources;
    QHash<QString, qsizetype> firsts;
    for (const QByteArray &name : names) {
        if (isStopped && isStopped()) {
            break;
        }
        for (Source &source : sourcesOf(name, admittedExtensions)) {
            source.number = sources.size();
            const auto first = firsts.constFind(source.path);
            if (first == firsts.cend()) {
                firsts.insert(source.path, source.number);
            } else {
                source.sameAs = *first;
            }
            sources.append(std::move(source));
        }
    }
    return sources;
}

QList<Source> sourcesOfShard(const QList<Source> &sources, const Shard &shard)
{
    QList<Source> part;
    QSet<qsizetype> taken;
    int turn = 0;
    for (const Source &source : sources) {
        const bool isTurn = !source.isRepeated() && turn++ % shard.parts == shard.part - 1;
        if (isTurn || taken.contains(source.sameAs)) {
            taken.insert(source.number);
            part.append(source);
        }
    }
    return part;
}

QList<Source> withoutRepeated(const QList<Source> &sources)
{
    QList<Source> firsts;
    std::copy_if(sources.begin(), sources.end(), std::back_inserter(firsts),
                 [](const Source &source) { return !source.isRepeated(); });
    return firsts;
}

} // namespace qv
