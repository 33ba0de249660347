#pragma once

#include <QString>
#include <QStringList>

// Readable names for sources whose file names carry no meaning, and names derived from names.
namespace qv
{

// A title for people: the source's name without the given suffixes and "-PAL", "-NV", "-NF",
// underscores turned into blanks. The name without extension when nothing is left.
QString pathes2Titles(const QString &path, const QStringList &suffixes);

// The recorded length in seconds that a recorder bundle states; 0 outside one or when unknown.
float eyetvRecordedDuration(const QString &path);

// The path of the master file beside the source, its name cut to 27 characters with "_MASTER".
QString masterName(const QString &path);
// The path with its name cut to `maximum` characters and cleaned of backquotes and colons.
QString shortenedName(const QString &path, int maximum);

// The first entry of a folder with exactly this extension; an empty text when there is none.
QString fileFromFolder(const QString &folder, const QString &extension);

} // namespace qv
