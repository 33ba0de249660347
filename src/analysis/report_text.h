#pragma once

#include <QString>

// Pieces of a report's line between markers.
namespace qv
{

inline constexpr QLatin1String inputMark("Input #");

// The text before the first marker; the whole text when there is none.
QString before(const QString &text, QLatin1String marker);
// The text between the first marker and the next one, or to the end; null when there is none.
QString after(const QString &text, QLatin1String marker);

} // namespace qv
