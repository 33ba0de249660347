#pragma once

#include "support/visible_text.h"

#include <QByteArray>
#include <QString>

#include <functional>

// Where a command writes: results to `out`, messages to `err`. Tests swap them.
namespace qv
{

struct Streams {
    std::function<void(const QByteArray &)> out;
    std::function<void(const QByteArray &)> err;
    // The system's number of the first error because of which `out` lost something, 0 when it lost
    // nothing; a reader that went away is none. May be missing.
    std::function<int()> outError;
    bool outIsTerminal = false;
    bool errIsTerminal = false;
    int terminalColumns = 80;
    int input = -1; // descriptor that lists and requests come from; -1: there is none
    // The program whose copies work side by side; empty: this process works alone.
    QString workerProgram;

    // A result for scripts: as it is, unless a terminal shows it.
    void result(const QString &line) const
    {
        out((outIsTerminal ? visibleText(line) : line).toUtf8() + '\n');
    }
    // One line, in which nothing steers the terminal.
    void message(const QString &line) const { err(visibleText(line).toUtf8() + '\n'); }
    // Several lines; names in them must have gone through visibleText().
    void messageLines(const QString &lines) const { err(visibleLines(lines).toUtf8() + '\n'); }

    // The process's own, with the descriptors that stand for standard input and output.
    static Streams standard(int input, int output);
};

} // namespace qv
