#pragma once

#include "process/child_process.h"

#include <atomic>

// Programs that the updater asks something: the new version on trial, the system's package
// managers. Only their own flag ends such a run, and the caller learns how it ended.
namespace qv
{

struct ProgramRun {
    ToolOutcome outcome;  // Stopped: by the flag
    int startError = 0;   // of NotStarted: the system's error number
    QString cause{};      // of Hung: why it was ended, unless it was idle
    QByteArray printed{}; // on both standard streams

    bool hasAnswered() const { return outcome.ending == ToolOutcome::Ending::Exited; }
    // How it ended, in words for people: "died by signal 11 (Segmentation fault)".
    QString text() const;
};

// Runs the program in the application's own environment and waits for its end, on any thread. A
// program that neither prints nor computes for the idle limit is ended.
ProgramRun runProgram(const QStringList &command, const std::atomic<bool> &isCancelled);

} // namespace qv
