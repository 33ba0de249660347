#pragma once

#include "cli/source_runner.h"

// "quorvantel-cli info" and "quorvantel-cli plan": what a source's record says, and what a sheet of
// it would take.
namespace qv
{

int runInfoCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QList<Source> &sources);
int runPlanCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QList<Source> &sources);

} // namespace qv
