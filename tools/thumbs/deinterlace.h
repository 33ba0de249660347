#pragma once

#include <algorithm>
#include <cstddef>

namespace qv
{

// Of samples of eight bits: by how much a line may stand out from its neighbours before it counts
// as a comb line.
inline constexpr int restingDifference = 6;

// Rows of samples of one picture or plane.
template <typename Sample> struct Rows {
    Sample *samples = nullptr;
    std::ptrdiff_t stride = 0; // in samples
    std::size_t width = 0;     // in samples
    int height = 0;

    Sample *row(int y) const { return samples + y * stride; }
};

// Fills the lines of the field that is shown later (the odd ones unless bottomFirst) with what
// their neighbours allow: resting detail stays, the comb lines of movement go. `resting` is the
// restingDifference of these samples.
template <typename Sample> void deinterlace(const Rows<Sample> &rows, bool bottomFirst, int resting)
{
    for (int y = bottomFirst ? 0 : 1; y < rows.height; y += 2) {
        const Sample *above = rows.row(y > 0 ? y - 1 : std::min(1, rows.height - 1));
        const Sample *below = rows.row(y + 1 < rows.height ? y + 1 : std::max(0, y - 1));
        Sample *line = rows.row(y);
        for (std::size_t x = 0; x < rows.width; ++x) {
            const int low = std::min(above[x], below[x]) - resting;
            const int high = std::max(above[x], below[x]) + resting;
            const int mean = (above[x] + below[x] + 1) / 2;
            line[x] = line[x] < low || line[x] > high ? static_cast<Sample>(mean) : line[x];
        }
    }
}

} // namespace qv
