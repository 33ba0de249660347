#pragma once

#include "qt_thumbs/movie.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace qv
{

// 8-bit RGB, full range, rows without padding.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    std::size_t stride() const { return static_cast<std::size_t>(width) * 3; }
    std::uint8_t *row(int y) { return pixels.data() + static_cast<std::size_t>(y) * stride(); }
    const std::uint8_t *row(int y) const
    {
        return pixels.data() + static_cast<std::size_t>(y) * stride();
    }
};

// The frame as it is looked at: turned upright, without comb lines, scaled to exactly that size
// whatever its aspect. Nothing when its format can't be converted.
std::optional<Picture> pictureOf(const Frame &frame, GstVideoOrientationMethod orientation,
                                 int width, int height);

// Fills the lines of the field that is shown later (the odd ones unless bottomFirst) with what
// their neighbours allow: resting detail stays, the comb lines of movement go.
void deinterlace(Picture &picture, bool bottomFirst);

Picture upright(const Picture &picture, GstVideoOrientationMethod orientation);
bool isTurnedSideways(GstVideoOrientationMethod orientation);

} // namespace qv
