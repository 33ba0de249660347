#pragma once

#include "process/cancellation.h"
#include "process/tool_process.h"

#include <QString>
#include <QStringList>

// Tools run to their end on the calling thread. The result is everything that was printed, as one
// text, or a null text when there was nothing or it was not UTF-8; never an empty one. Exit
// statuses are not looked at. A tool that neither prints nor computes for the idle limit is
// terminated, and what it printed until then counts. Nobody waits for a tool that has closed its
// output: it is killed, with all that it has started.
namespace qv
{

// One tool, or two joined by exactly one "|". Only the first gets the tool environment.
QString taskArray1PipeMax(const QStringList &arguments, ErrorText errorText);

// A pipeline of any length; the last tool's error text is merged.
QString taskArrayPipes(const QStringList &arguments);

} // namespace qv
