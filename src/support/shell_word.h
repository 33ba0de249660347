#pragma once

#include <QString>

namespace qv
{

// The text as one word of a POSIX shell's command line, whatever it holds.
QString shellWord(const QString &text);

} // namespace qv
