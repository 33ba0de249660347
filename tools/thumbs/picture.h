#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qv
{

// 8 bits a sample, full range, rows without padding.
struct Picture {
    enum class Pixels { Rgb, Bgrx };
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
    Pixels order = Pixels::Rgb;
    // Whether colours change from pixel to pixel, or were stored for two by two.
    bool hasFineColours = true;

    std::size_t pixelSize() const { return order == Pixels::Rgb ? 3 : 4; }
    std::size_t stride() const { return static_cast<std::size_t>(width) * pixelSize(); }
    std::uint8_t *row(int y) { return pixels.data() + static_cast<std::size_t>(y) * stride(); }
    const std::uint8_t *row(int y) const
    {
        return pixels.data() + static_cast<std::size_t>(y) * stride();
    }
};

} // namespace qv
