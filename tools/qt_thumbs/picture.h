#pragma once

#include "qt_thumbs/movie.h"
#include "thumbs/picture.h"

#include <optional>

namespace qv
{

// The frame as it is looked at: turned upright, without comb lines, scaled to exactly that size
// whatever its aspect. Nothing when its format can't be converted.
std::optional<Picture> pictureOf(const Frame &frame, GstVideoOrientationMethod orientation,
                                 int width, int height);

// Takes the comb lines out of a picture of two fields.
void deinterlace(Picture &picture, bool bottomFirst);

Picture upright(const Picture &picture, GstVideoOrientationMethod orientation);
bool isTurnedSideways(GstVideoOrientationMethod orientation);

} // namespace qv
