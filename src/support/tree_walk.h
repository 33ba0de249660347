#pragma once

#include "support/platform.h"

#include <QByteArray>

#include <functional>

// Every entry below a folder, at any depth, each folder before what it holds and by name within
// each folder. Paths are bytes, so entries with undecodable names come along. Folders for which
// `visit` answers false are not entered; links to folders never are.
namespace qv
{

using TreeVisitor = std::function<bool(const QByteArray &path, platform::EntryKind kind)>;
void walkTree(const QByteArray &root, const TreeVisitor &visit);

// One folder's entries by name; empty when it can't be read.
std::vector<platform::DirectoryEntry> sortedEntries(const QByteArray &folder);

} // namespace qv
