#pragma once

#include <QString>

#include <tl/expected.hpp>

// The folders that stills are made in.
namespace qv
{

// Folders of stills carry a hidden mark, so that a folder of the user's that happens to have the
// name is never emptied or removed.
bool isOurStillsFolder(const QString &folder);
// Whether the folder may be used: missing, or ours.
bool mayUseStillsFolder(const QString &folder);
// Empties and recreates it, with the mark.
tl::expected<void, QString> prepareStillsFolder(const QString &folder);
// Deletes it if it is ours.
bool purgeStillsFolder(const QString &folder);

} // namespace qv
