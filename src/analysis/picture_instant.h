#pragma once

#include <QString>

#include <optional>

// Which instant a picture run took, by the lines of its "showinfo" filter.
namespace qv
{

enum class Taken { First, Last };

// The name of the filter of one picture, in a run that takes several.
QString tellerName(int shot);

// Seconds from the run's own start of the first or last frame that it shows; nothing when what it
// printed tells of none. With a shot, the filter of that name counts.
std::optional<double> pictureInstant(const QString &printed, Taken taken,
                                     std::optional<int> shot = std::nullopt);

// How many pictures of a run have got a frame.
int picturesTold(const QString &printed);

} // namespace qv
