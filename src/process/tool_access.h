#pragma once

#include <QString>
#include <QStringList>

// Which files a confined tool may open.
namespace qv
{

// Files, or folders with all that is below them.
struct ToolAccess {
    QStringList lasting; // readable, and not replaced while the application runs
    QStringList readable;
    QStringList writable; // and readable
    // Threads are always allowed. Scripts that wrap a tool need processes.
    bool mayStartProcesses = false;
};

// What a bundled tool needs for this command: the system's libraries and data, the application
// bundle, and what the command's arguments name, with the rest of the recorder bundle that holds
// it. It writes in toolFolder() and in `outputFolder` only.
ToolAccess accessFor(const QStringList &command, const QString &outputFolder);

} // namespace qv
