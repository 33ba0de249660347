#pragma once

#include "support/platform.h"

#include <QByteArray>

#include <functional>

// Every entry below a folder, at any depth, each folder before what it holds and by name within
// each folder. Paths are bytes, so entries with undecodable names come along. Folders for which
// `visit` answers false are not entered; links to folders never are. `failed`, when given, hears of
// each folder, the root too, that could not be read to its end.
namespace qv
{

using TreeVisitor = std::function<bool(const QByteArray &path, platform::EntryKind kind)>;
using FolderVisitor = std::function<void(const QByteArray &folder)>;
void walkTree(const QByteArray &root, const TreeVisitor &visit,
              const FolderVisitor &failed = nullptr);

// One folder's entries by name; what was read of them when it can't be read to its end, which
// `isWhole`, when given, tells.
std::vector<platform::DirectoryEntry> sortedEntries(const QByteArray &folder,
                                                    bool *isWhole = nullptr);

} // namespace qv
