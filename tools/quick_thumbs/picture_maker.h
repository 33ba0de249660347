#pragma once

#include "quick_thumbs/film.h"
#include "quick_thumbs/orientation.h"
#include "thumbs/picture.h"

#include <tl/expected.hpp>

#include <string>

namespace qv
{

// Makes pictures to look at out of decoded frames.
class PictureMaker
{
public:
    // Upright pictures of that size.
    PictureMaker(const Film &film, Orientation orientation, int width, int height);

    // Without comb lines, in the range and the colours of a display. Or why not.
    tl::expected<Picture, std::string> pictureOf(const AVFrame &frame);

private:
    tl::expected<Picture, std::string> scaled(const AVFrame &frame);
    int scaling(const AVFrame &frame) const;
    bool hasFields(const AVFrame &frame) const;
    std::string filtersFor(const AVFrame &frame, bool hasFieldsLeft) const;

    const AVCodecParameters &m_told; // of the first opening of the film
    bool m_isInterlaced;
    Orientation m_orientation;
    int m_width; // as stored: before the picture is turned
    int m_height;
    ScalerPtr m_scaler;
};

// Whether nearly all of it has the same brightness.
bool isFlat(const Picture &picture);

} // namespace qv
