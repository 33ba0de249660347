#pragma once

#include "quick_thumbs/film.h"
#include "thumbs/arguments.h"

namespace qv
{

struct Probed {
    bool isSure = false;        // the report is the one that ffmpeg would print
    std::unique_ptr<Film> film; // the source, open; may be null
};

// Prints on standard error what ffmpeg's debug report of a run that decodes ten frames says of the
// source, with up to five lines more: "tail" for what stands at its end; "last" for the second of
// its last picture; "keys" for those of the key pictures that its container lists; "list" when that
// list is "whole"; "groups" for whether they begin "closed" or "open" ones. Writes the header of
// the decoded frames, and the picture that is asked for beside. A missing picture or tail does not
// make the report unsure.
Probed probe(const Request &request);

} // namespace qv
