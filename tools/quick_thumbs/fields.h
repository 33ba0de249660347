#pragma once

#include "quick_thumbs/libav.h"

namespace qv
{

// Takes the comb lines out of a frame of two fields, in a copy of its samples. False, and nothing
// done, when its format is not one of planes.
bool takeOutCombs(AVFrame &frame, bool bottomFirst);

} // namespace qv
