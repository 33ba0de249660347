#pragma once

#include <algorithm>

// How the colours of films are brought to a BT.709 display. Shared with the tools, hence no Qt.
namespace qv
{

// ffmpeg's filters for frames of their final size whose transfer, primaries and matrix are known.
// The format keeps the colour of each pixel: zscale refuses odd sides with subsampled colours.
#define QV_UNSAMPLED_COLOURS                                                                       \
    "format=yuv444p10le|yuv444p12le|yuv444p16le|yuv444p|gbrp10le|gbrp12le|gbrp16le|gbrp,"

// PQ and HLG: a reference white of 100 cd/m2, and the peak of the frame's mastering metadata, or
// 1000 cd/m2.
inline constexpr const char *toneMapping =
    QV_UNSAMPLED_COLOURS "zscale=t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,"
                         "tonemap=hable:desat=0,zscale=t=bt709:m=bt709:r=full,format=gbrp";

// Primaries of a wide gamut under a common transfer.
inline constexpr const char *gamutMapping =
    QV_UNSAMPLED_COLOURS "zscale=p=bt709:t=bt709:m=bt709:r=full,format=gbrp";

#undef QV_UNSAMPLED_COLOURS

// Whether a picture of that size (pixels, either way up) that doesn't state its matrix follows
// BT.709; smaller ones follow BT.601.
constexpr bool isHdSize(int width, int height)
{
    return std::max(width, height) >= 1280 || std::min(width, height) > 576;
}

} // namespace qv
