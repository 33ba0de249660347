#pragma once

#include <cstddef>

namespace qv
{

// Writes all of the bytes to the open file, however many calls that takes. The error number; 0 when
// all was written.
int writeAll(int file, const char *bytes, std::size_t size);

} // namespace qv
