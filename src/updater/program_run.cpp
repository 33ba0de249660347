#include "updater/program_run.h"

#include "process/tool_environment.h"

#include <QDeadlineTimer>

#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace qv
{
namespace
{

constexpr int interval = 20;    // milliseconds
constexpr int longestRun = 120; // seconds
constexpr int mostMegabytes = 1;

// Reads what the pipe holds by now; waits a moment when it is empty.
void readSome(int pipe, int milliseconds, QByteArray &printed)
{
    pollfd request{pipe, POLLIN, 0};
    std::array<char, 4096> block;
    if (::poll(&request, 1, milliseconds) > 0) {
        const ssize_t got = ::read(pipe, block.data(), block.size());
        if (got > 0) {
            printed.append(block.data(), got);
        } else {
            ::poll(nullptr, 0, milliseconds); // closed, but still running
        }
    }
}

// True when the program has ended by itself; the run says why it is to be ended otherwise.
bool waitForEnd(ChildProcess &child, int pipe, ProgramRun &run,
                const std::atomic<bool> &isCancelled)
{
    const QDeadlineTimer deadline(longestRun * 1000);
    IdleWatch watch;
    run.outcome.ending = ToolOutcome::Ending::Hung;
    while (child.isRunning()) {
        const qsizetype before = run.printed.size();
        readSome(pipe, interval, run.printed);
        if (run.printed.size() != before) {
            watch.sawOutput();
        }
        if (isCancelled) {
            run.outcome.ending = ToolOutcome::Ending::Stopped;
            return false;
        }
        if (run.printed.size() > mostMegabytes << 20) {
            run.cause = QStringLiteral("printed more than %1 MB and was ended").arg(mostMegabytes);
        } else if (deadline.hasExpired()) {
            run.cause = QStringLiteral("did not end within %1 s").arg(longestRun);
        }
        if (!run.cause.isEmpty() || watch.isHung(child.processorTicks())) {
            return false;
        }
    }
    run.outcome = child.outcome();
    return true;
}

} // namespace

QString ProgramRun::text() const
{
    if (startError != 0) {
        return qt_error_string(startError);
    }
    return cause.isEmpty() ? outcomeText(outcome) : cause;
}

ProgramRun runProgram(const QStringList &command, const std::atomic<bool> &isCancelled)
{
    ProgramRun run;
    if (isCancelled) {
        run.outcome.ending = ToolOutcome::Ending::Stopped;
        return run;
    }
    Pipe output = Pipe::create();
    if (!output.readEnd.isOpen()) {
        run.startError = errno;
        return run;
    }
    const int out = output.writeEnd.get();
    auto child = ChildProcess::spawn({command, applicationEnvironment(), -1, out, out, {}});
    output.writeEnd.close();
    if (!child) {
        run.startError = child.error().error;
        return run;
    }
    const int in = output.readEnd.get();
    if (!waitForEnd(*child, in, run, isCancelled)) {
        return run; // the child is killed
    }
    for (qsizetype before = -1; before != run.printed.size();) {
        before = run.printed.size();
        readSome(in, 0, run.printed);
    }
    return run;
}

} // namespace qv
