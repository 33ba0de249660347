#pragma once

#include <QString>

namespace qv
{

// Copies a file, a link (as a link) or a folder with all it holds to a path where nothing stands,
// with permissions and dates. Gives why it failed, null on success; a partial copy is left to the
// caller.
QString copyTree(const QString &source, const QString &destination);

// Deletes whatever stands there, folders with all they hold; links themselves, not their targets.
// Gives why it failed, null on success and when nothing stood there.
QString removeTree(const QString &path);

} // namespace qv
