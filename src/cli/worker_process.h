#pragma once

#include "process/child_process.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

// One copy of the command as a child process, spoken with over a socket that is its standard input
// and output.
namespace qv
{

class WorkerProcess : public QObject
{
    Q_OBJECT

public:
    // Running, or the system's error number. The copy ends when this object or process does.
    static tl::expected<std::unique_ptr<WorkerProcess>, int> start(const QStringList &command);

    // What it says, line by line, and that it has ended; from the event loop.
    std::function<void(const QByteArray &)> onLine;
    std::function<void(const ToolOutcome &)> onEnded;

    // A line is sent only when the one before it was answered, so that it never waits.
    void send(const QByteArray &line);
    // No more lines come; it ends when it has answered.
    void close();
    // Asks it to end at once and leave nothing half made.
    void stop();

    pid_t pid() const { return m_process.pid(); }

private:
    WorkerProcess(ChildProcess process, FileDescriptor socket);
    void read();
    void awaitEnd();
    void endSoon();

    ChildProcess m_process;
    FileDescriptor m_socket;
    QSocketNotifier m_notifier;
    QByteArray m_bytes;
    QTimer m_endTimer;  // looks whether it has ended
    QTimer m_killTimer; // when it doesn't
};

} // namespace qv
