#pragma once

#include "quick_thumbs/film.h"

#include <optional>

namespace qv
{

struct Tail {
    double end = 0;       // seconds from the source's start at which the last packet ends
    int pictures = 0;     // how many there are near the end
    double latest = 0;    // when the last of them is shown; 0 when it is not known
    bool isWhole = false; // everything up to the end has been looked at
};

// What stands where the source is said to end: by the list of packets where the container has a
// whole one, else by reading the last seconds. Nothing when no duration is claimed or the container
// is one whose duration was found by doing so.
std::optional<Tail> tailOf(Film &film);

// When the last picture is shown, behind which sound may go on. Nothing when it is not known.
std::optional<double> lastPictureOf(Film &film, const Tail &tail);

} // namespace qv
