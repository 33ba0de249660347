#pragma once

#include "controller/face.h"
#include "support/bundle.h"

#include <QSet>
#include <QString>
#include <QStringList>

// Which paths become sources.
namespace qv
{

// The declared extensions in four spellings each: as declared, lower, upper, capitalised. The
// library and project bundles that only look like videos are left out.
QSet<QString> admittedExtensions(const QStringList &declared);

// The drop's first path decides: an alias is resolved, a folder stands for everything below it and
// displaces the rest of the drop. `closed`, when given, gets the folders that could not be read to
// their end.
QStringList expandedDrop(const QStringList &paths, QStringList *closed);

// Every path below a folder but the companion files ("._clip.mp4") that other systems leave there.
// `closed` as above.
QStringList listedBelow(const QString &folder, QStringList *closed);

// The paths whose extension, in exactly this spelling, is admitted.
QStringList withAdmittedExtension(const QStringList &paths, const QSet<QString> &extensions);

// The sources of a drop among its paths that are not in the table yet (`fresh`): below a folder the
// files with an admitted extension. Files that are named one by one are looked at by content,
// whatever their extension, unless something speaks against them (sourceProblem).
QStringList admittedOf(const QStringList &dropped, const QStringList &fresh,
                       const QSet<QString> &extensions);

// What of a drop is not admitted, in words for people: paths beside a folder, which displaces them,
// folders that could not be read, what can't be a source at all, and the files below a folder
// without a video's extension, which are counted in one entry. `expanded` and `closed` are what
// expandedDrop gave.
QList<LeftOut> leftOutOf(const QStringList &dropped, const QStringList &expanded,
                         const QStringList &closed, const QSet<QString> &extensions);

// Why a file can't be a source at all (missing, no regular file, unreadable, empty, a companion
// file), in words for people; a null text when nothing speaks against it.
QString sourceProblem(const QString &path);

} // namespace qv
