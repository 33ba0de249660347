#include "cli/worker_process.h"

#include "cli/worker_protocol.h"
#include "process/tool_environment.h"

#include <cerrno>
#include <csignal>
#include <sys/socket.h>

namespace qv
{
namespace
{

constexpr int endInterval = 2; // milliseconds
// A large sheet that is being written is finished first.
constexpr int endLimit = 60'000;

} // namespace

tl::expected<std::unique_ptr<WorkerProcess>, int> WorkerProcess::start(const QStringList &command)
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return tl::make_unexpected(errno);
    }
    FileDescriptor own(ends[0]);
    const FileDescriptor theirs(ends[1]);
    SpawnRequest request;
    request.command = command;
    request.environment = applicationEnvironment();
    request.standardInput = theirs.get();
    request.standardOutput = theirs.get();
    auto process = ChildProcess::spawn(request);
    if (!process) {
        return tl::make_unexpected(process.error().error);
    }
    return std::unique_ptr<WorkerProcess>(new WorkerProcess(std::move(*process), std::move(own)));
}

WorkerProcess::WorkerProcess(ChildProcess process, FileDescriptor socket)
    : m_process(std::move(process)), m_socket(std::move(socket)),
      m_notifier(m_socket.get(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &WorkerProcess::read);
    m_endTimer.setInterval(endInterval);
    connect(&m_endTimer, &QTimer::timeout, this, &WorkerProcess::awaitEnd);
    m_killTimer.setSingleShot(true);
    connect(&m_killTimer, &QTimer::timeout, this, [this] { m_process.sendSignal(SIGKILL); });
}

// One that is gone is noticed by the end of what it says; no signal is wanted for it.
void WorkerProcess::send(const QByteArray &line)
{
    for (qsizetype done = 0; done < line.size();) {
        const ssize_t n = ::send(m_socket.get(), line.constData() + done,
                                 static_cast<size_t>(line.size() - done), MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return;
        }
        done += n;
    }
}

void WorkerProcess::close()
{
    ::shutdown(m_socket.get(), SHUT_WR);
    endSoon();
}

void WorkerProcess::stop()
{
    m_process.sendSignal(SIGTERM);
    endSoon();
}

void WorkerProcess::endSoon()
{
    if (!m_killTimer.isActive()) {
        m_killTimer.start(endLimit);
    }
}

void WorkerProcess::read()
{
    char buffer[16384];
    const ssize_t n = ::read(m_socket.get(), buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) {
        return;
    }
    m_bytes.append(buffer, std::max<ssize_t>(n, 0));
    while (const auto line = takeLine(m_bytes)) {
        onLine(*line);
    }
    if (m_bytes.size() > lineLimit) {
        m_process.sendSignal(SIGKILL);
        m_bytes.clear();
    }
    if (n <= 0) {
        m_notifier.setEnabled(false);
        m_endTimer.start();
        endSoon();
    }
}

void WorkerProcess::awaitEnd()
{
    if (!m_process.isRunning()) {
        m_endTimer.stop();
        m_killTimer.stop();
        onEnded(m_process.outcome());
    }
}

} // namespace qv
