#pragma once

namespace qv
{

// Prints which of the six decoders are installed, by their four-character codes, and the "version"
// of the movie framework, as JSON.
void printDecoders();

} // namespace qv
