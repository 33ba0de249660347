#pragma once

#include "thumbs/arguments.h"

#include <tl/expected.hpp>

#include <optional>
#include <string>

namespace qv
{

// Prints "waiting" as a line on standard output and reads one more command from standard input: its
// arguments, each ended by a NUL byte, and an empty one at the end. Gives the pictures that are
// asked for, which must be those of `source`; nothing when the input ends before a command.
tl::expected<std::optional<PicturesRequest>, std::string> secondCommand(const std::string &source);

} // namespace qv
