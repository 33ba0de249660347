#pragma once

#include "thumbs/arguments.h"

namespace qv
{

// Prints on standard error what ffmpeg's debug report of a run that decodes ten frames says of the
// source, with up to five lines more: "tail" for what stands at its end; "last" for the second of
// its last picture; "keys" for those of the key pictures that its
// container lists; "list" when that list is "whole"; "groups" for whether they begin "closed" or
// "open" ones. Writes the header of the decoded frames, and the picture that is asked for beside.
// False when the report may not be the one that ffmpeg would print; a missing picture or tail is no
// reason.
bool probe(const Request &request);

} // namespace qv
