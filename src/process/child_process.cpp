#include "process/child_process.h"

#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace qv
{
namespace
{

constexpr int killWaitMilliseconds = 100;

double g_idleLimit = 60;

// Processes that were killed but had not died yet when their owner went; reaped at the next spawn.
std::vector<pid_t> &abandoned()
{
    static std::vector<pid_t> pids;
    return pids;
}

void reapAbandoned()
{
    std::erase_if(abandoned(), [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; });
}

std::vector<char *> pointersTo(QList<QByteArray> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(static_cast<size_t>(texts.size()) + 1);
    for (QByteArray &text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Owns the spawn attributes and file actions for one call.
class SpawnSetup
{
public:
    SpawnSetup()
    {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigset_t defaults;
        ::sigemptyset(&none);
        ::sigemptyset(&defaults);
        for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
            ::sigaddset(&defaults, signal);
        }
        ::posix_spawnattr_setsigmask(&m_attributes, &none);
        ::posix_spawnattr_setsigdefault(&m_attributes, &defaults);
        ::posix_spawnattr_setpgroup(&m_attributes, 0);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                      POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnSetup()
    {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSetup(const SpawnSetup &) = delete;
    SpawnSetup &operator=(const SpawnSetup &) = delete;

    void redirect(int from, int to)
    {
        if (from >= 0) {
            ::posix_spawn_file_actions_adddup2(&m_actions, from, to);
        }
    }
    void changeFolder(const QByteArray &folder)
    {
        if (!folder.isEmpty()) {
            ::posix_spawn_file_actions_addchdir_np(&m_actions, folder.constData());
        }
    }
    const posix_spawn_file_actions_t *actions() const { return &m_actions; }
    const posix_spawnattr_t *attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

ToolOutcome outcomeOfStatus(int status)
{
    ToolOutcome outcome;
    if (WIFSIGNALED(status)) {
        outcome.ending = ToolOutcome::Ending::Crashed;
        outcome.signal = WTERMSIG(status);
    } else {
        outcome.ending = ToolOutcome::Ending::Exited;
        outcome.exitCode = WEXITSTATUS(status);
    }
    return outcome;
}

QByteArray procFile(pid_t pid, const char *name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// 1234 (ffmpeg) S 1 1234 ... : after the name, which may hold blanks, user and system time are the
// 12th and 13th fields, their ended children's the next two.
quint64 ticksFromStat(const QByteArray &stat)
{
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    quint64 ticks = 0;
    for (int i = 11; i <= 14 && i < fields.size(); ++i) {
        ticks += fields.at(i).toULongLong();
    }
    return ticks;
}

quint64 ticksOfTree(pid_t pid, int depth)
{
    quint64 ticks = ticksFromStat(procFile(pid, "stat"));
    if (depth > 8) {
        return ticks;
    }
    const QByteArray children =
        procFile(pid, ("task/" + QByteArray::number(pid) + "/children").constData());
    for (const QByteArray &child : children.split(' ')) {
        if (const int childPid = child.toInt(); childPid > 0) {
            ticks += ticksOfTree(childPid, depth + 1);
        }
    }
    return ticks;
}

qint64 nowMilliseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<qint64>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace

FileDescriptor &FileDescriptor::operator=(FileDescriptor &&other) noexcept
{
    if (this != &other) {
        close();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

void FileDescriptor::close()
{
    if (m_fd >= 0) {
        ::close(std::exchange(m_fd, -1));
    }
}

Pipe Pipe::create()
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

QString outcomeText(const ToolOutcome &outcome)
{
    switch (outcome.ending) {
    case ToolOutcome::Ending::NotStarted:
        return QStringLiteral("could not be started");
    case ToolOutcome::Ending::Exited:
        return QStringLiteral("ended with exit status %1").arg(outcome.exitCode);
    case ToolOutcome::Ending::Crashed:
        return QStringLiteral("died by signal %1 (%2)")
            .arg(outcome.signal)
            .arg(QString::fromLocal8Bit(::strsignal(outcome.signal)));
    case ToolOutcome::Ending::Stopped:
        return QStringLiteral("was stopped");
    case ToolOutcome::Ending::Hung:
        return QStringLiteral("neither printed nor computed for %1 s and was ended")
            .arg(g_idleLimit);
    }
    return {};
}

tl::expected<ChildProcess, int> ChildProcess::spawn(const SpawnRequest &request)
{
    reapAbandoned();
    if (request.command.isEmpty()) {
        return tl::make_unexpected(ENOENT);
    }
    QList<QByteArray> arguments;
    for (const QString &argument : request.command) {
        arguments.append(QFile::encodeName(argument));
    }
    QList<QByteArray> environment = request.environment;
    SpawnSetup setup;
    setup.redirect(request.standardInput, STDIN_FILENO);
    setup.redirect(request.standardOutput, STDOUT_FILENO);
    setup.redirect(request.standardError, STDERR_FILENO);
    setup.changeFolder(QFile::encodeName(request.workingFolder));
    pid_t pid = -1;
    const int error =
        ::posix_spawn(&pid, arguments.first().constData(), setup.actions(), setup.attributes(),
                      pointersTo(arguments).data(), pointersTo(environment).data());
    if (error != 0) {
        return tl::make_unexpected(error);
    }
    return ChildProcess(pid);
}

ChildProcess::ChildProcess(ChildProcess &&other) noexcept
    : m_pid(std::exchange(other.m_pid, -1)), m_ended(other.m_ended), m_outcome(other.m_outcome)
{
}

ChildProcess &ChildProcess::operator=(ChildProcess &&other) noexcept
{
    if (this != &other) {
        abandon();
        m_pid = std::exchange(other.m_pid, -1);
        m_ended = other.m_ended;
        m_outcome = other.m_outcome;
    }
    return *this;
}

ChildProcess::~ChildProcess()
{
    abandon();
}

void ChildProcess::abandon()
{
    if (m_pid > 0 && isRunning()) {
        sendSignal(SIGKILL);
        // Death follows in a moment, unless the process is stuck in the kernel.
        for (int wait = 0; wait < killWaitMilliseconds && isRunning(); ++wait) {
            ::poll(nullptr, 0, 1);
        }
        if (isRunning()) {
            abandoned().push_back(m_pid);
        }
    }
    m_pid = -1;
}

bool ChildProcess::isRunning()
{
    if (m_pid <= 0 || m_ended) {
        return false;
    }
    int status = 0;
    const pid_t result = ::waitpid(m_pid, &status, WNOHANG);
    if (result == 0 || (result < 0 && errno == EINTR)) {
        return true;
    }
    m_ended = true;
    if (result == m_pid) {
        m_outcome = outcomeOfStatus(status);
    }
    return false;
}

void ChildProcess::sendSignal(int signal)
{
    if (m_pid > 0 && !m_ended && ::kill(-m_pid, signal) != 0) {
        ::kill(m_pid, signal);
    }
}

quint64 ChildProcess::processorTicks() const
{
    return m_pid > 0 && !m_ended ? ticksOfTree(m_pid, 0) : 0;
}

double toolIdleLimit()
{
    return g_idleLimit;
}

void setToolIdleLimit(double seconds)
{
    g_idleLimit = std::clamp(seconds, 0.05, 1e6);
}

IdleWatch::IdleWatch() : m_lastSign(nowMilliseconds()) {}

void IdleWatch::sawOutput()
{
    m_lastSign = nowMilliseconds();
}

bool IdleWatch::isHung(quint64 ticks)
{
    if (ticks != m_ticks) {
        m_ticks = ticks;
        m_lastSign = nowMilliseconds();
    }
    return static_cast<double>(nowMilliseconds() - m_lastSign) > g_idleLimit * 1000;
}

int IdleWatch::askInterval()
{
    return static_cast<int>(std::clamp(g_idleLimit * 1000 / 8, 10.0, 1000.0));
}

} // namespace qv
