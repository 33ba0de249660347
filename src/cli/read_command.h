#pragma once

#include "cli/options.h"
#include "cli/streams.h"

#include <QByteArrayList>

// "quorvantel-cli read": what sheets tell of themselves. Needs no tool and no settings.
namespace qv
{

// The sheets as the system names them; gives the exit status.
int runReadCommand(const Options &options, const Streams &streams, const QByteArrayList &sheets);

} // namespace qv
