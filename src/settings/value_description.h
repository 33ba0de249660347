#pragma once

#include <QString>
#include <QVariant>

namespace qv
{

// A value for a trace line: texts and numbers as they are, dictionaries and lists in braces, cut
// short when long, "nil" when there is none.
QString describeValue(const QVariant &value);

} // namespace qv
