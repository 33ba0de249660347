#pragma once

#include "qt_thumbs/movie.h"

#include <tl/expected.hpp>

#include <string>

namespace qv
{

// The picture that is shown at that instant, in seconds from the start. After the last picture it
// is the last one, before the first the first. Else why there is none.
tl::expected<Frame, std::string> frameAt(Movie &movie, double instant);

// The same for a movie that has just been opened and can't be positioned: by decoding all that
// comes before.
tl::expected<Frame, std::string> frameByDecoding(Movie &movie, double instant);

} // namespace qv
