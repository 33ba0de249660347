#pragma once

#include <string>

namespace qv
{

// Prints what is known of the source as JSON, with the keys of a media record; the field order as
// a letter under "v0_fieldcode". False, with the reason on standard error, when no picture of it
// can be decoded.
bool probe(const std::string &source);

} // namespace qv
