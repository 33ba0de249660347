#pragma once

#include <QString>

namespace qv
{

// The package that the file belongs to, as the system's package manager names it; null when it
// belongs to none. Runs the package manager's query and waits for it, some tenths of a second; may
// run on any thread.
QString packageOwner(const QString &path);

} // namespace qv
