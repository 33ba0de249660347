#pragma once

#include <QString>
#include <QStringList>

// Shell command lines run to their end on the calling thread, by the rules of
// process/blocking_run.h. The result is a null text when nothing was printed or it was not UTF-8.
namespace qv
{

// A shell command line, in a working folder when one is given. One final newline is removed.
QString taskWithStr(const QString &commandLine, const QString &workingFolder);

// Only "|" is ever judged safe.
bool isStringSafe4Task(const QString &text);

// A shell command line (further elements are its positional parameters) run on a second thread
// that the caller joins; 8-bit text, error text merged. Not reentrant.
class taskBloquante
{
public:
    static QString verbose(const QStringList &arguments);
};

} // namespace qv
