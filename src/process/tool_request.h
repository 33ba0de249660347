#pragma once

#include "process/child_process.h"

// How a tool is asked for, whoever runs it.
namespace qv
{

// The request for a command, without its streams. A tool that opens media (one of the bundle's, or
// the ffmpeg used in its place) runs under resource limits and confined: see accessFor(). One
// that is only asked what it can do runs under the limits alone. ffmpeg is told to open nothing but
// plain files of the formats that openableFormats lists.
SpawnRequest toolRequest(const QStringList &command, const QString &outputFolder = {});

} // namespace qv
