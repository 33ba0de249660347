#pragma once

#include "cli/headless_session.h"
#include "cli/sheet_report.h"
#include "cli/source_list.h"
#include "controller/run_names.h"

namespace qv
{

enum class RunEnd { Complete, Interrupted, GivenUp };

// Makes the sheets by `jobs` copies of this program, and tells of them in the order of the sources.
// When no copy can be started, this process does the work. Gives up, saying why, when copies keep
// dying.
RunEnd makeSheetsInParallel(HeadlessSession &session, const Options &options,
                            const Streams &streams, const QList<Source> &sources, RunNames &names,
                            int jobs, SheetReport &report);

} // namespace qv
