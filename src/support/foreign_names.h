#pragma once

#include <QByteArray>
#include <QString>

// File names are bytes, and not always valid UTF-8, while every path here is a text. A file with
// such a name is reached through a symbolic link with a valid one. Any thread may ask.
namespace qv
{

// Where the links are made; until one is set, such files can't be opened. Whoever sets the folder
// deletes it at the end.
void setForeignNamesFolder(const QString &path);

// A path that opens the file: the path itself when it is valid UTF-8, else that of a link to it,
// always the same for the same file. Without a folder for links, the shown path.
QString usablePath(const QByteArray &bytes);

// What to show for a path that usablePath gave: the original with replacement characters for a
// link, any other path as it is.
QString shownPath(const QString &path);

// The name from the root on: a relative one stands below the working folder, whose own name need
// not be valid UTF-8 either.
QByteArray absoluteName(const QByteArray &name);
// The bytes of the name behind a path that usablePath gave, for another process to open.
QByteArray rawPath(const QString &path);

} // namespace qv
