#pragma once

#include "process/tool_process.h"

#include <atomic>

// Programs that the updater asks something: the new version on trial, the system's package
// managers. Only their own flag ends such a run, and the caller learns how it ended.
namespace qv
{

// Runs the program in the application's own environment and waits for its end, on any thread. The
// output has both standard streams. A program that neither prints nor computes for the idle limit,
// runs for two minutes, or prints more than a megabyte is ended (Hung); the flag ends it as
// Stopped.
ToolReport runProgram(const QStringList &command, const std::atomic<bool> &isCancelled);

// How it ended, in words for people: "died by signal 11 (Segmentation fault)", "No such file or
// directory".
QString programEndText(const ToolOutcome &outcome);

} // namespace qv
