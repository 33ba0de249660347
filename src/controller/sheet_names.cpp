#include "controller/sheet_names.h"

#include "support/files.h"
#include "support/foreign_names.h"

#include <QFile>
#include <QStringList>

namespace qv
{
namespace
{

// Bytes that a file system takes for a name, less what an extension and a temporary name need.
constexpr qsizetype nameLimit = 240;

QString fitting(QString name)
{
    while (QFile::encodeName(name).size() > nameLimit) {
        name.chop(name.size() > 1 && name.back().isLowSurrogate() ? 2 : 1);
    }
    return name;
}

// Leaves room for the words that tell two names apart.
QString fittingWith(const QString &name, const QString &suffix)
{
    QString cut = name;
    while (!cut.isEmpty() && QFile::encodeName(cut + suffix).size() > nameLimit) {
        cut.chop(cut.size() > 1 && cut.back().isLowSurrogate() ? 2 : 1);
    }
    return cut + suffix;
}

QString titleOf(const QString &sourcePath)
{
    const QString title = fitting(sourceTitle(sourcePath));
    // A name of dots would be a folder's.
    return title.isEmpty() || title == QLatin1String(".") || title == QLatin1String("..")
               ? QStringLiteral("untitled")
               : title;
}

} // namespace

QString SheetNames::baseFor(const QString &sourcePath, const QString &folder,
                            const std::function<bool(const QString &)> &mayUse)
{
    if (folder != m_folder) {
        forget();
        m_folder = folder;
    }
    if (const QString known = m_baseOfSource.value(sourcePath); !known.isNull()) {
        return known;
    }
    const QString base = freeBase(sourcePath, folder, mayUse);
    m_baseOfSource.insert(sourcePath, base);
    m_sourceOfBase.insert(base, sourcePath);
    return base;
}

QString SheetNames::freeBase(const QString &sourcePath, const QString &folder,
                             const std::function<bool(const QString &)> &mayUse) const
{
    const QString title = titleOf(sourcePath);
    const QString parent = lastPathComponent(fichier_dirname(shownPath(sourcePath)));
    const auto isFree = [&](const QString &base) {
        return !m_sourceOfBase.contains(base) && (!mayUse || mayUse(base));
    };
    QStringList names{title};
    if (const QString first = m_sourceOfBase.value(appendPath(folder, title)); !first.isNull()) {
        const QString firstParent = lastPathComponent(fichier_dirname(shownPath(first)));
        if (parent != firstParent && !parent.isEmpty()) {
            names << fittingWith(title, QStringLiteral(" (%1)").arg(fitting(parent)));
        }
        names << fittingWith(title, QStringLiteral(" (%1)").arg(pathExtension(sourcePath)));
    }
    for (const QString &name : names) {
        if (isFree(appendPath(folder, name))) {
            return appendPath(folder, name);
        }
    }
    for (int number = 2;; ++number) {
        const QString base =
            appendPath(folder, fittingWith(title, QStringLiteral(" %1").arg(number)));
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
}

bool isRenamed(const QString &sourcePath, const QString &base)
{
    return lastPathComponent(base) != titleOf(sourcePath);
}

} // namespace qv
