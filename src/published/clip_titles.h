#pragma once

#include <QString>
#include <QStringList>

// Titles and names derived from a source's name.
namespace qv
{

// A title for people: the source's name without the given suffixes and "-PAL", "-NV", "-NF",
// underscores turned into blanks. The name without extension when nothing is left.
QString pathes2Titles(const QString &path, const QStringList &suffixes);

// The path of the master file beside the source, its name cut to 27 characters with "_MASTER".
QString masterName(const QString &path);
// The path with its name cut to `maximum` characters and cleaned of backquotes and colons.
QString shortenedName(const QString &path, int maximum);

} // namespace qv
