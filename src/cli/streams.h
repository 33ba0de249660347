#pragma once

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

    void result(const QString &line) const { out(line.toUtf8() + '\n'); }
    void message(const QString &line) const { err(line.toUtf8() + '\n'); }

    // The process's own, with the descriptors that stand for standard input and output.
    static Streams standard(int input, int output);
};

// A name for a terminal: control characters, which could steer it, become visible.
QString printable(const QString &name);

} // namespace qv
