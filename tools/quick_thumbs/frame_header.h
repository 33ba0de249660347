#pragma once

#include "quick_thumbs/film.h"

#include <optional>
#include <string>

namespace qv
{

// The first line of the YUV4MPEG2 stream that ffmpeg would make of the film's frames, of which this
// is the first: "YUV4MPEG2 W720 H576 F25:1 It A16:15 C420mpeg2". Upright, as ffmpeg turns them.
std::string frameHeader(const Film &film, const AVFrame &frame);

// Width by height of the displayed picture, upright. Nothing without a size.
std::optional<double> displayedShape(const Film &film, const AVFrame &frame);

} // namespace qv
