#pragma once

#include "process/child_process.h"

// How a tool is asked for, whoever runs it.
namespace qv
{

// The request for a command, without its streams. A tool that opens media (one of the bundle's, or
// the ffmpeg that stands in for it) is held to limits, and to writing in the temporary folder and
// in `outputFolder` only. One that is only asked what it can do is held to the limits alone.
SpawnRequest toolRequest(const QStringList &command, const QString &outputFolder = {});

} // namespace qv
