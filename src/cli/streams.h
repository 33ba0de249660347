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
    bool outIsTerminal = false;
    bool errIsTerminal = false;
    int terminalColumns = 80;

    void result(const QString &line) const { out(line.toUtf8() + '\n'); }
    void message(const QString &line) const { err(line.toUtf8() + '\n'); }

    // The process's own.
    static Streams standard();
};

// A name for a terminal: control characters, which could steer it, become visible.
QString printable(const QString &name);

} // namespace qv
