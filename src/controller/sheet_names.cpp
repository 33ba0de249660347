#include "controller/sheet_names.h"

#include "analysis/camcorder_clip.h"
#include "controller/sheet_owner.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/twin_names.h"

namespace qv
{
namespace
{

// Bytes that a file system takes for a name, less what an extension and a temporary name need.
constexpr int nameLimit = 240;
// Longest folder name that is worth showing.
constexpr int parentLimit = 80;
constexpr int shortMark = 4; // bytes
constexpr int longMark = 16;
constexpr qsizetype markedNames = 2;

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

QString parentOf(const QString &sourcePath)
{
    return fittedName(lastPathComponent(fichier_dirname(shownPath(sourcePath))), QString(),
                      parentLimit);
}

QByteArray keyOf(const QString &base)
{
    return twinKey(base.toUtf8());
}

} // namespace

const QStringList &sheetExtensions()
{
    static const QStringList extensions{QStringLiteral("jpg"), QStringLiteral("png")};
    return extensions;
}

QStringList sheetNames(const QString &sourcePath, const QString &rival)
{
    const QString title = titleOf(sourcePath);
    const auto with = [&](const QString &word) {
        return fittedName(title, QStringLiteral(" (%1)").arg(word), nameLimit);
    };
    const QByteArray path = rawPath(sourcePath);
    const QString parent = parentOf(sourcePath);
    QStringList names{title, with(pathExtension(sourcePath)),
                      with(QString::fromLatin1(pathMark(path, shortMark))),
                      with(QString::fromLatin1(pathMark(path, longMark)))};
    if (!parent.isEmpty()) {
        const bool isShared = !rival.isEmpty() && parentOf(rival) == parent;
        names.insert(isShared ? 2 : 1, with(parent));
    }
    return names;
}

bool isRenamed(const QString &sourcePath, const QString &base)
{
    return lastPathComponent(base) != titleOf(sourcePath);
}

QString SheetNames::baseFor(const QString &sourcePath, const QString &folder)
{
    if (sourcePath == m_givenSource) {
        return m_givenBase;
    }
    moveTo(folder);
    if (const QString known = m_baseOfSource.value(sourcePath); !known.isNull()) {
        return known;
    }
    QString base = ownBase(sourcePath);
    if (base.isEmpty()) {
        base = firstBase(sourcePath);
    }
    take(sourcePath, base);
    return base;
}

QString SheetNames::otherBaseFor(const QString &sourcePath, const QString &folder,
                                 const QString &extension)
{
    // Names without a mark may be given to other sources of the run.
    const bool isGiven = sourcePath == m_givenSource;
    moveTo(folder);
    const QStringList names = sheetNames(sourcePath);
    for (const QString &name : isGiven ? names.last(markedNames) : names) {
        const QString base = appendPath(folder, name);
        if (isFree(sourcePath, base) &&
            placeContent(base + QLatin1Char('.') + extension).isNothing()) {
            take(sourcePath, base);
            if (isGiven) {
                m_givenBase = base;
            }
            return base;
        }
    }
    return {};
}

void SheetNames::give(const QString &sourcePath, const QString &base)
{
    m_givenSource = sourcePath;
    m_givenBase = base;
}

bool SheetNames::isFree(const QString &sourcePath, const QString &base) const
{
    return m_sourceOfBase.value(keyOf(base), sourcePath) == sourcePath;
}

QString SheetNames::ownBase(const QString &sourcePath) const
{
    QString moved;
    for (const QString &name : sheetNames(sourcePath)) {
        const QString base = appendPath(m_folder, name);
        for (const QString &extension : sheetExtensions()) {
            const Claim claim =
                claimOn(placeContent(base + QLatin1Char('.') + extension), sourcePath);
            if (claim == Claim::None || !isFree(sourcePath, base)) {
                continue;
            }
            if (claim == Claim::Own) {
                return base;
            }
            moved = moved.isEmpty() ? base : moved;
        }
    }
    return moved;
}

QString SheetNames::firstBase(const QString &sourcePath) const
{
    const QString plain = appendPath(m_folder, sheetNames(sourcePath).constFirst());
    for (const QString &name : sheetNames(sourcePath, m_sourceOfBase.value(keyOf(plain)))) {
        const QString base = appendPath(m_folder, name);
        if (isFree(sourcePath, base)) {
            return base;
        }
    }
    return {};
}

void SheetNames::take(const QString &sourcePath, const QString &base)
{
    if (!base.isEmpty()) {
        m_baseOfSource.insert(sourcePath, base);
        m_sourceOfBase.insert(keyOf(base), sourcePath);
    }
}

void SheetNames::moveTo(const QString &folder)
{
    if (folder != m_folder) {
        m_folder = folder;
        m_baseOfSource.clear();
        m_sourceOfBase.clear();
    }
}

} // namespace qv
