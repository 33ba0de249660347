#include "controller/sheet_names.h"

#include "analysis/camcorder_clip.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/twin_names.h"

#include <QStringList>

#include <algorithm>

namespace qv
{
namespace
{

// Bytes that a file system takes for a name, less what an extension and a temporary name need.
constexpr int nameLimit = 240;
// A folder's name that tells two sheets apart needs no more.
constexpr int parentLimit = 80;

QString titleOf(const QString &sourcePath)
{
    const QString clip = cardClipName(sourcePath);
    const QString title =
        fittedName(clip.isNull() ? sourceTitle(sourcePath) : clip, QString(), nameLimit);
    // A name of dots would be a folder's.
    return title.isEmpty() || title == QLatin1String(".") || title == QLatin1String("..")
               ? QStringLiteral("untitled")
               : title;
}

QByteArray keyOf(const QString &name)
{
    return twinKey(name.toUtf8());
}

} // namespace

QString SheetNames::baseFor(const QString &sourcePath, const QString &folder,
                            const std::function<bool(const QString &)> &mayUse)
{
    if (const QString given = m_given.value(sourcePath); !given.isNull()) {
        return given;
    }
    if (folder != m_folder) {
        forget();
        m_folder = folder;
    }
    if (const QString known = m_baseOfSource.value(sourcePath); !known.isNull()) {
        return known;
    }
    const QString base = freeBase(sourcePath, folder, mayUse);
    m_baseOfSource.insert(sourcePath, base);
    m_sourceOfBase.insert(keyOf(base), sourcePath);
    return base;
}

QString SheetNames::freeBase(const QString &sourcePath, const QString &folder,
                             const std::function<bool(const QString &)> &mayUse)
{
    const QString title = titleOf(sourcePath);
    const QString parent = lastPathComponent(fichier_dirname(shownPath(sourcePath)));
    const auto isFree = [&](const QString &base) {
        return !m_sourceOfBase.contains(keyOf(base)) && (!mayUse || mayUse(base));
    };
    QStringList names{title};
    if (const QString first = m_sourceOfBase.value(keyOf(appendPath(folder, title)));
        !first.isNull()) {
        const QString firstParent = lastPathComponent(fichier_dirname(shownPath(first)));
        if (parent != firstParent && !parent.isEmpty()) {
            names << fittedName(
                title, QStringLiteral(" (%1)").arg(fittedName(parent, QString(), parentLimit)),
                nameLimit);
        }
        names << fittedName(title, QStringLiteral(" (%1)").arg(pathExtension(sourcePath)),
                            nameLimit);
    }
    for (const QString &name : names) {
        if (isFree(appendPath(folder, name))) {
            return appendPath(folder, name);
        }
    }
    // Numbers go on where the last source of this title left off: ten thousand of one name are no
    // ten thousand tries each.
    for (int &number = m_lastNumber[keyOf(title)];;) {
        number = std::max(2, number + 1);
        const QString base =
            appendPath(folder, fittedName(title, QStringLiteral(" %1").arg(number), nameLimit));
        if (isFree(base)) {
            return base;
        }
    }
}

void SheetNames::forget()
{
    m_folder.clear();
    m_baseOfSource.clear();
    m_sourceOfBase.clear();
    m_lastNumber.clear();
}

bool isRenamed(const QString &sourcePath, const QString &base)
{
    return lastPathComponent(base) != titleOf(sourcePath);
}

} // namespace qv
