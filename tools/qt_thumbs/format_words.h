#pragma once

#include <gst/gst.h>

#include <string>

// GStreamer's media types in the words of media records.
namespace qv
{

// "mov", "matroska", "mpegts"; else the type's own name.
std::string containerWord(const GstCaps *caps);
// "h264", "aac", "pcm_s16le", of ProRes its four-character code; else the type's own name.
std::string codecWord(const GstCaps *caps);
// Bits per sample of uncompressed sound; 0 for coded one, which has none.
int bitsPerSample(const GstCaps *caps);

// Of the first structure: 0 when the field is missing.
int intField(const GstCaps *caps, const char *field);

} // namespace qv
