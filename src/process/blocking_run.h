#pragma once

#include "process/tool_process.h"

// Runs of tools for which the calling thread waits.
namespace qv
{

enum class RunUntil {
    OutputEnds, // a tool that has closed its output is killed
    ToolExits,
};

// Drives the tool to its end on this thread. False when one of its rules ended it.
bool waitForTool(ToolProcess &tool, RunUntil until);

// A run that ends when its output does, also by isBlockingRunCancelled(). Failures to start and
// early ends are logged. The receiver, which may be empty, gets the chunks in place of the result.
// Nothing when it can't be started.
std::optional<QByteArray> outputOfTool(const ToolCommand &command,
                                       const ToolProcess::Receiver &receiver = {});

// Null unless the bytes are UTF-8.
QString textOfOutput(const QByteArray &bytes);

// The parts of such a run.
std::optional<ToolProcess> startBlockingTool(const ToolCommand &command);
void logEarlyEnd();

} // namespace qv
