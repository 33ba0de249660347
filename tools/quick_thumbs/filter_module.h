#pragma once

#include "quick_thumbs/libav.h"

#include <tl/expected.hpp>

#include <string>

namespace qv
{

// Runs one frame through a filter graph. The module with the filters is loaded at the first call;
// it stands beside the program.
tl::expected<FramePtr, std::string> filteredFrame(const AVFrame &frame, const std::string &graph);

} // namespace qv
