#pragma once

#include <QMimeData>
#include <QStringList>

// Paths in what is dropped or pasted.
namespace qv
{

// The path that opens the file of an absolute name, without "." and ".." in it, so that a file is
// known again however it was named.
QString cleanUsablePath(const QByteArray &name);
// Whether a drop may hold local files, without looking at all of it.
bool mayHoldPaths(const QMimeData &data);
// The local paths of an address list (text/uri-list, RFC 2483), or of a text with one absolute path
// or "file:" address a line. Names that are no UTF-8 are kept usable. Addresses elsewhere and
// relative names are left out; at most a hundred thousand are taken.
QStringList pathsIn(const QMimeData &data);

} // namespace qv
