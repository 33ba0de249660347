#pragma once

#include "process/tool_limits.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

#include <optional>
#include <sys/types.h>

// One child process, by what Linux has for it; another platform needs another implementation of
// this header and nothing else of the process layer.
namespace qv
{

// A file descriptor that closes itself.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    FileDescriptor(FileDescriptor &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept;
    ~FileDescriptor() { close(); }

    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    void close();

private:
    int m_fd = -1;
};

struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;

    // Both ends close on exec. Both stay closed when the system has no descriptors left.
    static Pipe create();
};

// How a run ended. A caller must look at `ending` before the numbers mean anything.
struct ToolOutcome {
    enum class Ending { NotStarted, Exited, Crashed, Stopped, Hung };
    Ending ending = Ending::NotStarted;
    int exitCode = 0; // of Exited
    int signal = 0;   // of Crashed
    int error = 0;    // of NotStarted: the system's number
    // The limit that ended it, or what prevented its start, in words. May be empty.
    QString cause{};
};
// In words for people: "died by signal 11", "neither printed nor computed for 60 s and was ended".
QString outcomeText(const ToolOutcome &outcome);

struct SpawnRequest {
    QStringList command;           // executable path, then its arguments
    QList<QByteArray> environment; // "NAME=value"
    int standardInput = -1;        // descriptors; -1 inherits the application's
    int standardOutput = -1;
    int standardError = -1;
    QString workingFolder;              // empty: the application's
    std::optional<ToolBounds> bounds{}; // nothing: the application's own
};

struct SpawnFailure {
    int error = 0;               // the system's number
    bool isUnconfinable = false; // it must not run without the confinement that failed
    QString text() const;        // for people: "could not be started (Exec format error)"
};

// Leads a process group of its own, so that signals reach what it starts, too. Killed and reaped
// when destroyed while running.
class ChildProcess
{
public:
    static tl::expected<ChildProcess, SpawnFailure> spawn(const SpawnRequest &request);

    ChildProcess(ChildProcess &&other) noexcept;
    ChildProcess &operator=(ChildProcess &&other) noexcept;
    ~ChildProcess();

    pid_t pid() const { return m_pid; }
    // Takes notice of an end that has come; doesn't wait.
    bool isRunning();
    // Only after isRunning() gave false.
    ToolOutcome outcome() const { return m_outcome; }
    void sendSignal(int signal);
    // Processor time used by the process and its children so far, in clock ticks.
    quint64 processorTicks() const;

private:
    ChildProcess(pid_t pid, std::optional<ToolLimits> limits) : m_pid(pid), m_limits(limits) {}
    void abandon();

    pid_t m_pid = -1;
    std::optional<ToolLimits> m_limits;
    bool m_ended = false;
    ToolOutcome m_outcome;
};

// Seconds without output and without processor use after which a tool counts as hung.
double toolIdleLimit();
void setToolIdleLimit(double seconds);

// Watches for that: tell it of each sign of life.
class IdleWatch
{
public:
    IdleWatch();
    void sawOutput();
    // Whether the limit has passed since the last output or change of the tick count.
    bool isHung(quint64 ticks);
    // How often to ask, in milliseconds.
    static int askInterval();

private:
    qint64 m_lastSign = 0;
    quint64 m_ticks = 0;
};

} // namespace qv
