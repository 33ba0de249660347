#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>

// The names of the sheets of one destination: one a source, no two the same, also on a disk that
// ignores case.
namespace qv
{

class SheetNames
{
public:
    // The sheet's path without extension for a source: the folder plus the source's display name;
    // a clip on a camcorder card has the name that the card gives it.
    // A source whose name another one has already taken gets one that tells them apart: its
    // folder's name or its own extension in parentheses, then a number. The answer for a source
    // stays the same as long as the folder does. A name that `mayUse` refuses is passed over.
    QString baseFor(const QString &sourcePath, const QString &folder,
                    const std::function<bool(const QString &base)> &mayUse = nullptr);
    // The name that whoever knows all the sources gave this one; it stays, whatever the folder.
    void give(const QString &sourcePath, const QString &base) { m_given.insert(sourcePath, base); }

private:
    void forget();
    QString freeBase(const QString &sourcePath, const QString &folder,
                     const std::function<bool(const QString &)> &mayUse);

    QString m_folder;
    QHash<QString, QString> m_given;
    QHash<QString, QString> m_baseOfSource;
    QHash<QByteArray, QString> m_sourceOfBase; // by twinKey(), as the next one
    QHash<QByteArray, int> m_lastNumber;       // given to a source of this title
};

// Whether the source's sheet does not have the source's plain name.
bool isRenamed(const QString &sourcePath, const QString &base);

} // namespace qv
