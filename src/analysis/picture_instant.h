#pragma once

#include <QString>

#include <optional>

// Which instant a picture run took, by the lines of its "showinfo" filter.
namespace qv
{

enum class Taken { First, Last };

// Seconds from the run's own start of the first or last frame that it shows; nothing when what it
// printed tells of none.
std::optional<double> pictureInstant(const QString &printed, Taken taken);

} // namespace qv
