#pragma once

#include <QString>

namespace qv
{

// Whether rmCocoa may delete what stands at the (expanded) path; a refusal that a user should hear
// of is logged. Looks at the path as given, and at where it leads once ".." and links among its
// folders are resolved.
bool deletionIsAllowed(const QString &path);

} // namespace qv
