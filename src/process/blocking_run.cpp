#include "process/blocking_run.h"

#include "process/cancellation.h"
#include "support/log.h"

#include <QStringDecoder>

#include <algorithm>
#include <poll.h>

namespace qv
{
namespace
{

// Milliseconds: how long a silent tool goes without a look at its rules.
constexpr int longestWait = 50;

// False when nothing came within that time.
bool readWithin(ToolProcess &tool, int milliseconds)
{
    constexpr ToolStream streams[] = {ToolStream::Output, ToolStream::Errors};
    pollfd requests[] = {{tool.descriptor(streams[0]), POLLIN, 0},
                         {tool.descriptor(streams[1]), POLLIN, 0}};
    if (::poll(requests, std::size(requests), milliseconds) <= 0) {
        return false;
    }
    for (std::size_t i = 0; i < std::size(requests); ++i) {
        if (requests[i].revents != 0 && !tool.isOver()) {
            tool.read(streams[i]);
        }
    }
    return true;
}

bool isDone(ToolProcess &tool, RunUntil until)
{
    return tool.isOver() ||
           (until == RunUntil::ToolExits ? tool.hasExited()
                                         : tool.descriptor(ToolStream::Output) < 0);
}

} // namespace

bool waitForTool(ToolProcess &tool, RunUntil until)
{
    // The end of the output wakes this thread, the end of the process doesn't.
    const int shortestWait = until == RunUntil::ToolExits ? 1 : longestWait;
    for (int wait = shortestWait; !isDone(tool, until);) {
        if (readWithin(tool, wait)) {
            wait = shortestWait;
        } else {
            tool.enforceRules();
            wait = std::min(wait * 2, longestWait);
        }
    }
    if (tool.isOver()) {
        return false;
    }
    if (tool.hasExited()) {
        tool.finish();
    }
    tool.stop();
    return true;
}

QString textOfOutput(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

std::optional<ToolProcess> startBlockingTool(const ToolCommand &command)
{
    auto tool = ToolProcess::start(command, {.isCancelled = isBlockingRunCancelled});
    if (!tool) {
        logLine(QStringLiteral("task                :-( %1: %2")
                    .arg(tool.error().tool, tool.error().reason.text()));
        return std::nullopt;
    }
    return std::move(*tool);
}

void logEarlyEnd()
{
    logLine(QStringLiteral("task                :-( hung, endless or interrupted, killed"));
}

std::optional<QByteArray> outputOfTool(const ToolCommand &command,
                                       const ToolProcess::Receiver &receiver)
{
    auto tool = startBlockingTool(command);
    if (!tool) {
        return std::nullopt;
    }
    tool->setReceiver(receiver);
    if (!waitForTool(*tool, RunUntil::OutputEnds)) {
        logEarlyEnd();
    }
    return tool->report().output;
}

} // namespace qv
