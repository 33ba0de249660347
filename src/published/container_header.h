#pragma once

#include <QString>

namespace qv
{

// Whether a file begins like one of this kind: 0 transport stream, 1 program stream whose first
// clock reference is zero, 2 AC-3.
bool hasContainerHeader(const QString &path, int kind);

} // namespace qv
