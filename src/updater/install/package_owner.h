#pragma once

#include <QString>

#include <tl/expected.hpp>

#include <atomic>

namespace qv
{

// The package that the file belongs to, as the system's package manager names it; null when it
// belongs to none. The reason, for people, when the package manager did not answer. Runs its query
// and waits for it, some tenths of a second; may run on any thread.
tl::expected<QString, QString> packageOwner(const QString &path,
                                            const std::atomic<bool> &isCancelled);

} // namespace qv
