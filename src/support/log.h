#pragma once

#include <QString>

#include <functional>

// Trace lines. A line is a label padded to 20 characters, a mark (":", ":-)", ":-(", "?", "-") and
// a value. Failures and phases are written always, everything else only under isDebug().
namespace qv
{

// Whether optional trace lines are written; off at every launch.
bool isDebug();
void setDebug(bool on);

// Developer traces, of every step and every intermediate value. Off for good: the paths that ask
// are there for whoever turns the constant.
constexpr bool isVerboseDebug()
{
    return false;
}

// Writes one line with time, process name and process id, in one write so that lines of several
// processes and threads do not mix. Goes to standard error unless another sink is set. Characters
// that would steer a terminal or forge another line are written as escapes (visibleText()).
void logLine(const QString &text);
// The same for the few entries whose own words span several lines; a name in them must have gone
// through visibleText().
void logLines(const QString &text);

// The same, only when the debug switch is on. The text is made only then.
template <typename MakeText> void logDebug(MakeText &&makeText)
{
    if (isDebug()) {
        logLine(makeText());
    }
}

// From now on Qt's own messages are optional lines.
void logQtMessages();

// Replaces where the lines go; an empty function restores standard error. The sink gets the whole
// line with its prefix and line end.
using LogSink = std::function<void(const QByteArray &line)>;
void setLogSink(LogSink sink);

} // namespace qv
