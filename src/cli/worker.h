#pragma once

#include "cli/options.h"
#include "cli/streams.h"

namespace qv
{

// Makes the sheets that another copy of the command asks for on `streams.input`, one at a time, and
// answers on `streams.out`, until its requests end. Gives the exit status.
int runWorker(const Options &options, const Streams &streams);

} // namespace qv
