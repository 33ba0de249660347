#include "process/child_process.h"

#include "process/tool_confinement.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
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
// Owners live on several threads.
class Abandoned
{
public:
    void add(pid_t pid)
    {
        const std::lock_guard lock(m_mutex);
        m_pids.push_back(pid);
    }

    void reap()
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_pids, [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; });
    }

private:
    std::mutex m_mutex;
    std::vector<pid_t> m_pids;
};

Abandoned &abandoned()
{
    static Abandoned processes;
    return processes;
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

// What the new process needs to become the tool; made before it exists, as it may not allocate.
struct Launch {
    char *const *arguments = nullptr;
    char *const *environment = nullptr;
    const char *folder = nullptr;
    int streams[3] = {-1, -1, -1};
    const ToolLimits *limits = nullptr;
    const Confinement *confinement = nullptr;
    pid_t application = -1;
    SpawnFailure failure;
};

// Handlers of the application must not run in the tool; what it ignores stays ignored, but for what
// ends programs.
void resetSignals()
{
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        const bool ends = number == SIGPIPE || number == SIGINT || number == SIGTERM ||
                          number == SIGHUP || number == SIGQUIT || number == SIGXCPU ||
                          number == SIGXFSZ;
        if (::sigaction(number, nullptr, &action) == 0 && (ends || action.sa_handler != SIG_IGN)) {
            action = {};
            action.sa_handler = SIG_DFL;
            ::sigaction(number, &action, nullptr);
        }
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool takeStreams(const int (&streams)[3])
{
    for (int to = 0; to < 3; ++to) {
        const int from = streams[to];
        const bool done =
            from < 0 || (from == to ? ::fcntl(to, F_SETFD, 0) : ::dup2(from, to)) >= 0;
        if (!done) {
            return false;
        }
    }
    return true;
}

// However the application ends, a tool that hangs or rests must not outlive it.
bool dieWithApplication(pid_t application)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    return ::getppid() == application;
}

bool takeBounds(Launch &launch)
{
    if (launch.limits != nullptr && !applyLimits(*launch.limits)) {
        return false;
    }
    launch.failure.isUnconfinable = launch.confinement != nullptr && !launch.confinement->enter();
    return !launch.failure.isUnconfinable;
}

// Runs in the new process, on a stack of its own, while the application waits. It shares the
// application's memory, so there are only system calls.
int becomeTool(void *data)
{
    auto &launch = *static_cast<Launch *>(data);
    resetSignals();
    const bool ready = ::setpgid(0, 0) == 0 && dieWithApplication(launch.application) &&
                       takeStreams(launch.streams) &&
                       (launch.folder == nullptr || ::chdir(launch.folder) == 0) &&
                       takeBounds(launch);
    if (ready) {
        ::execve(launch.arguments[0], launch.arguments, launch.environment);
    }
    launch.failure.error = errno != 0 ? errno : ESRCH;
    return 127;
}

// Nothing of the application is copied for it, however large its memory.
pid_t startTool(Launch &launch)
{
    constexpr size_t stackSize = 64 * 1024;
    alignas(64) std::array<char, stackSize> stack;
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    const pid_t pid =
        ::clone(becomeTool, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &launch);
    const int error = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (pid < 0) {
        launch.failure.error = error;
    } else if (launch.failure.error != 0) {
        ::waitpid(pid, nullptr, 0);
    }
    return pid;
}

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

quint64 peakMemory(const rusage &used)
{
    return static_cast<quint64>(used.ru_maxrss) * 1024;
}

pid_t startConfined(Launch &launch, const ToolAccess &access)
{
    const auto confinement = Confinement::make(access);
    if (!confinement) {
        launch.failure = {confinement.error(), true};
        return -1;
    }
    launch.confinement = &*confinement;
    return startTool(launch);
}

pid_t startBounded(Launch &launch, const std::optional<ToolBounds> &bounds)
{
    if (bounds) {
        launch.limits = &bounds->limits;
    }
    return bounds && bounds->access && isConfinementOn() ? startConfined(launch, *bounds->access)
                                                         : startTool(launch);
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
    if (!outcome.cause.isEmpty()) {
        return outcome.cause;
    }
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

QString SpawnFailure::text() const
{
    return (isUnconfinable ? QStringLiteral("could not be confined and was not started (%1)")
                           : QStringLiteral("could not be started (%1)"))
        .arg(qt_error_string(error));
}

tl::expected<ChildProcess, SpawnFailure> ChildProcess::spawn(const SpawnRequest &request)
{
    abandoned().reap();
    if (request.command.isEmpty()) {
        return tl::make_unexpected(SpawnFailure{ENOENT});
    }
    QList<QByteArray> arguments;
    for (const QString &argument : request.command) {
        arguments.append(QFile::encodeName(argument));
    }
    QList<QByteArray> environment = request.environment;
    const std::vector<char *> argumentPointers = pointersTo(arguments);
    const std::vector<char *> environmentPointers = pointersTo(environment);
    const QByteArray folder = QFile::encodeName(request.workingFolder);
    Launch launch;
    launch.arguments = argumentPointers.data();
    launch.environment = environmentPointers.data();
    launch.folder = folder.isEmpty() ? nullptr : folder.constData();
    launch.streams[STDIN_FILENO] = request.standardInput;
    launch.streams[STDOUT_FILENO] = request.standardOutput;
    launch.streams[STDERR_FILENO] = request.standardError;
    launch.application = ::getpid();
    const pid_t pid = startBounded(launch, request.bounds);
    if (launch.failure.error != 0) {
        return tl::make_unexpected(launch.failure);
    }
    return ChildProcess(pid, request.bounds ? std::optional(request.bounds->limits) : std::nullopt);
}

ChildProcess::ChildProcess(ChildProcess &&other) noexcept
    : m_pid(std::exchange(other.m_pid, -1)), m_limits(other.m_limits), m_ended(other.m_ended),
      m_outcome(other.m_outcome)
{
}

ChildProcess &ChildProcess::operator=(ChildProcess &&other) noexcept
{
    if (this != &other) {
        abandon();
        m_pid = std::exchange(other.m_pid, -1);
        m_limits = other.m_limits;
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
            abandoned().add(m_pid);
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
    rusage used{};
    const pid_t result = ::wait4(m_pid, &status, WNOHANG, &used);
    if (result == 0 || (result < 0 && errno == EINTR)) {
        return true;
    }
    m_ended = true;
    if (result == m_pid) {
        m_outcome = outcomeOfStatus(status);
        if (m_limits) {
            m_outcome.cause = limitMet(*m_limits, status, peakMemory(used));
        }
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
