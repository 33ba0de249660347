#pragma once

namespace qv
{

// Prints which of the six decoders are installed, by their four-character codes, as JSON.
void printDecoders();

} // namespace qv
