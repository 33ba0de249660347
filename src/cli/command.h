#pragma once

#include "cli/options.h"
#include "cli/streams.h"

#include <QByteArrayList>

// The command as a function: from arguments to exit status, on streams that a test can swap.
namespace qv
{

// `arguments` as the system gave them, without the program's name: names need not be UTF-8. Needs
// an application object, of the graphical kind for "sheet".
int runCommand(const QByteArrayList &arguments, const Streams &streams);

// Whether the arguments ask for sheets, which need fonts and so a graphical application object.
bool needsFonts(const QByteArrayList &arguments);

// Whether this process is a copy of the command that another one feeds with sources.
bool isWorker(const QByteArrayList &arguments);

// What --version prints.
QByteArray versionLine();

} // namespace qv
