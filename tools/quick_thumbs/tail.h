#pragma once

#include "quick_thumbs/film.h"

#include <optional>

namespace qv
{

struct Tail {
    double end = 0;   // seconds from the source's start at which the last packet ends
    int pictures = 0; // how many there are near the end
};

// What stands where the source is said to end, by reading its last seconds. Nothing when no
// duration is claimed or the container is one whose duration was found by doing so.
std::optional<Tail> tailOf(Film &film);

} // namespace qv
