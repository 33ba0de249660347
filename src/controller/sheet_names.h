#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

// The names of the sheets of one destination: no two sources share one, also on a disk that ignores
// case.
namespace qv
{

// The names, without extension, that a source's sheet may have, best first: the source's display
// name (of a clip on a camcorder card, the name that the card gives it), that with the folder's
// name, with the source's extension, with a short and a long mark of its path. They depend on the
// source alone. Where the folder's name would not tell it from `rival`, the source that has the
// first name, the extension comes before it.
QStringList sheetNames(const QString &sourcePath, const QString &rival = {});

// The extensions of sheets: "jpg" and "png".
const QStringList &sheetExtensions();

// Whether the source's sheet does not have the source's plain name.
bool isRenamed(const QString &sourcePath, const QString &base);

// The names of sources that come one by one.
class SheetNames
{
public:
    // The sheet's path without extension: where the source's own sheet is already, else with the
    // first name that no source before it has. A file of others may be there. The answer stays the
    // same as long as the folder does. Empty when every name is taken.
    QString baseFor(const QString &sourcePath, const QString &folder);
    // Another one, where nothing is; it stays from then on. Empty when every name is taken.
    QString otherBaseFor(const QString &sourcePath, const QString &folder,
                         const QString &extension);
    // Whoever knows all the sources gives this one its base. It counts until the next call.
    void give(const QString &sourcePath, const QString &base);

private:
    bool isFree(const QString &sourcePath, const QString &base) const;
    QString ownBase(const QString &sourcePath) const;
    QString firstBase(const QString &sourcePath) const;
    void take(const QString &sourcePath, const QString &base);
    void moveTo(const QString &folder);

    QString m_folder;
    QString m_givenSource;
    QString m_givenBase;
    QHash<QString, QString> m_baseOfSource;
    QHash<QByteArray, QString> m_sourceOfBase; // by twinKey()
};

} // namespace qv
