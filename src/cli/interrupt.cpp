#include "cli/interrupt.h"

#include "process/tool_run.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace qv
{
namespace
{

volatile std::sig_atomic_t g_signal = 0;
int g_pipe[2] = {-1, -1};
constexpr int watchedSignals[] = {SIGINT, SIGTERM, SIGHUP};

void handle(int signal)
{
    g_signal = signal;
    interruptBlockingRuns();
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
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

Interrupt::Interrupt(std::function<void()> stop)
    : m_stop(std::move(stop)), m_notifier(openPipe(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &Interrupt::arrived);
    struct sigaction action {
    };
    action.sa_handler = handle;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : watchedSignals) {
        ::sigaction(signal, &action, nullptr);
    }
}

Interrupt::~Interrupt()
{
    for (const int signal : watchedSignals) {
        std::signal(signal, SIG_DFL);
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
