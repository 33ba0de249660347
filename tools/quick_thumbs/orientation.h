#pragma once

#include "quick_thumbs/libav.h"
#include "thumbs/picture.h"

#include <optional>

namespace qv
{

// How a stored picture becomes the one that is looked at: the sides swapped first (the picture
// mirrored at its falling diagonal), then mirrored.
struct Orientation {
    bool swapsSides = false;
    bool mirrorsX = false;
    bool mirrorsY = false;
    bool isPlain() const { return !swapsSides && !mirrorsX && !mirrorsY; }
};

// By the stream's display matrix (ISO/IEC 14496-12, the track header's), taken as ffmpeg takes it:
// quarter turns and mirrors. Nothing for a slanted one.
std::optional<Orientation> orientationOf(const AVStream &stream);

Picture oriented(const Picture &picture, const Orientation &orientation);

} // namespace qv
