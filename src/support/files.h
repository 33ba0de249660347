#pragma once

#include <QString>
#include <QStringList>

// Files and folders. Every path is tilde-expanded; a missing (null or empty) path gives the
// operation's "nothing" value and touches nothing. Failures are logged, refusals mostly.
namespace qv
{

// A leading "~" or "~/" replaced by the user's home folder.
QString expandTilde(const QString &path);

// Deletes a file or a folder with all it holds. Refuses the home folder and its ancestors, the
// direct children of the root and of the folders that hold homes and mounted volumes, and
// wildcards. True when the path is gone or was handed to the trash.
bool rmCocoa(const QString &path);
// With missing intermediate folders, mode 0777 before the umask. True also when it exists already.
bool mkdir(const QString &path);
// An existing destination is replaced only when the flag is exactly "y".
bool moveFile(const QString &source, const QString &destination, const QString &overwrite);
bool copyFile(const QString &source, const QString &destination, const QString &overwrite);
// True when there was a path to try; `where`, when given, gets the place in the trash, null when
// the item did not get there.
bool moveToTrash(const QString &path, QString *where = nullptr);
// Whether the folder (or the folder of the file) can be written into, tried by making one inside.
bool droitsAcces(const QString &path);
// Full paths of the entries of a folder, one level, by name.
QStringList lsCocoa(const QString &path);
// Full paths of every file and sub-folder at any depth, by name within each folder. Links to
// folders are listed, not followed; trash folders are left out. `closed`, when given, gets the
// folders, the first one too, that could not be read to their end.
QStringList subpaths(const QString &folder, QStringList *closed = nullptr);
bool fileExists(const QString &path);
// Whether anything has that name, a link that leads nowhere included.
bool standsThere(const QString &path);
// A folder, and no link to one.
bool isRealFolder(const QString &path);

// Writes UTF-8 with every kind of line end turned into "\n", in place.
bool ecritureFichier(const QString &path, const QString &text);
enum class ByteOrderMark { None, OnCreation };
bool appendToFile(const QString &path, const QString &text, ByteOrderMark mark);
// Writes the UTF-8 byte-order mark over the first three bytes.
bool fixBOM(const QString &path);
// The name by which tools know the text file's encoding; "CP1252" when it can't be told or read.
QString encodingCharsetIdentifier(const QString &path);
// The file's text in the encoding that it seems to have; null when it can't be read.
QString readTextFile(const QString &path);

// Replaces each literal occurrence; with recursive set, until none is left.
QString findAndReplace(const QString &text, const QString &search, const QString &replacement,
                       bool recursive);
// The lines of a text without the empty ones.
QStringList linesOf(const QString &text);

// Free space of the volume in whole MiB; -1 when unknown.
int freeDiskSpace(const QString &path);
// In the unit "G", "M", "K" (powers of 1024) or "O" (bytes, also for a null or other unit), any
// case; -1 when missing. A folder counts in whole MiB.
double fileSize(const QString &path, const QString &unit);
// MiB of all files below.
float folderSize(const QString &path);
// Creation as "yyyy-MM-dd HH:mm:ss +0000" (UTC offset of the local zone); modification where the
// file system keeps no birth time. Null when missing.
QString creationDateText(const QString &path);

// The recorder bundle (".eyetv") that directly holds the path, or the path itself.
QString EyetvBundle(const QString &path);
// The folder that holds the source, seen past recorder bundles and editor projects.
QString fichier_dirname(const QString &path);
// A source's display name: its bundle's or its own, without extension.
QString sourceTitle(const QString &path);

// The target of an alias (symbolic link, or desktop entry of type Link to a local file); null when
// the path is none or leads nowhere.
QString resolveAlias(const QString &path);

// The last component of a path, and the path or name without its extension, as texts.
QString lastPathComponent(const QString &path);
QString pathExtension(const QString &path);
QString withoutExtension(const QString &path);
QString appendPath(const QString &folder, const QString &name);
// The name cut at its end until name and suffix together take at most `limit` bytes on disk, with
// the suffix. No character is cut in two.
QString fittedName(const QString &name, const QString &suffix, int limit);

} // namespace qv
