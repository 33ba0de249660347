#include "process/interrupt.h"

#include "process/cancellation.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace qv
{
namespace
{

volatile std::sig_atomic_t g_signal = 0;
int g_pipe[2] = {-1, -1};

void handle(int signal)
{
    const int errorBefore = errno;
    g_signal = signal;
    setBlockingRunsInterrupted(true);
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
    errno = errorBefore;
}

int openPipe()
{
    g_signal = 0;
    if (g_pipe[0] < 0 && ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return -1;
    }
    return g_pipe[0];
}

} // namespace

Interrupt::Interrupt(std::function<void()> stop, const std::vector<int> &signalNumbers)
    : m_stop(std::move(stop)), m_notifier(openPipe(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Interrupt::arrived);
    for (const int signal : signalNumbers) {
        watch(signal);
    }
}

void Interrupt::watch(int signal)
{
    struct sigaction before {
    };
    ::sigaction(signal, nullptr, &before);
    m_before.emplace_back(signal, before);
    if (before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action {
    };
    action.sa_handler = handle;
    // Whoever closed one of our outputs must not kill the clearing up with the next line.
    action.sa_flags = signal == SIGPIPE ? 0 : static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
}

Interrupt::~Interrupt()
{
    setBlockingRunsInterrupted(false);
    for (const auto &[signal, before] : m_before) {
        ::sigaction(signal, &before, nullptr);
    }
}

int Interrupt::signalNumber()
{
    return g_signal;
}

void Interrupt::arrived()
{
    char byte = 0;
    while (::read(g_pipe[0], &byte, 1) == 1) {
    }
    m_stop();
}

} // namespace qv
