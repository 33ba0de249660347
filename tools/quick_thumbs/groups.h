#pragma once

#include "quick_thumbs/film.h"

// Groups of pictures of H.264. In an open group pictures in front of the key picture are decoded
// from the group before.
namespace qv
{

enum class Groups { Unknown, Closed, Open };

// By the kinds of two key pictures of the container's list (ITU-T H.264, 7.4.1.2.4: groups that
// begin with an IDR picture are closed). Moves the film's position.
Groups groupsOf(Film &film, const std::vector<double> &keys);

} // namespace qv
