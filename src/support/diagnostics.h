#pragma once

#include <QString>

// The user's two logs ("Details.log", which takes the process's whole output, and the summary log
// "Resume.log"), their turn-over at start, and the Debug menu item's state.
namespace qv
{

// The folder of both logs, "~/Library/Logs/<CFBundleName>" expanded. A process that must leave no
// trace in the user's home sets a folder of its own; an empty text restores the user's.
QString logFolder();
void setLogFolder(const QString &folder);

QString detailsLogPath();
QString resumeLogPath();

// Appends to the summary log, which is created with a UTF-8 byte-order mark and a "start date"
// line when it is missing. A null text only creates. False when the file can't be made or opened.
bool resumeLogAppend(const QString &text);

// Sends standard output and standard error into the file (created, appended to), once a process:
// a second call changes nothing.
void redirectStdoutToFile(const QString &path);

// The start sequence: makes the folder, moves both logs aside to "Previous-<name>", starts the
// summary log and redirects the process's output into the detailed one.
void startLogs();

// A click on the Debug menu item: gives its new state (1 or 0) and its new title, the localised
// name of what the next click does, and turns the debug switch accordingly.
struct DebugMenuItem {
    QString title;
    int state = 0;
};
DebugMenuItem iba_menuDebugToggle(const DebugMenuItem &sender);

} // namespace qv
