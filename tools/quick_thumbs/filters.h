#pragma once

extern "C" {
#include <libavutil/frame.h>
}

// The module with the filters, for sources that need more than scaling.
namespace qv
{

// A new frame, made from `frame` by this filter graph, or nothing with a reason of at most `size`
// bytes in `problem`.
using FilterFrame = AVFrame *(const AVFrame *frame, const char *graph, char *problem, int size);

inline constexpr char filterModule[] = "quickThumbsFilters.so";
inline constexpr char filterFunction[] = "qv_filter_frame";

} // namespace qv
