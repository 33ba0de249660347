#pragma once

#include "cli/results.h"
#include "cli/source_runner.h"

// "quorvantel-cli sheet".
namespace qv
{

int runSheetCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                    const QList<Source> &all);

} // namespace qv
