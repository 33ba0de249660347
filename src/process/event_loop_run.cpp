#include "process/event_loop_run.h"

namespace qv
{

EventLoopRun::EventLoopRun(QObject *parent) : QObject(parent)
{
    connect(&m_watchTimer, &QTimer::timeout, this, &EventLoopRun::look);
    connect(&m_exitTimer, &QTimer::timeout, this, &EventLoopRun::endIfExited);
    m_exitTimer.setInterval(1);
}

tl::expected<void, ToolStartFailure> EventLoopRun::start(const ToolCommand &command,
                                                         const ToolRules &rules)
{
    auto tool = ToolProcess::start(command, rules);
    if (!tool) {
        return tl::make_unexpected(tool.error());
    }
    follow(std::move(*tool));
    return {};
}

bool EventLoopRun::continueTool(WaitingTool tool, const QStringList &arguments)
{
    auto continued = ToolProcess::continueTool(std::move(tool), arguments);
    if (!continued) {
        return false;
    }
    follow(std::move(*continued));
    return true;
}

void EventLoopRun::follow(ToolProcess tool)
{
    m_tool.emplace(std::move(tool));
    m_tool->setReceiver(onChunk);
    for (const ToolStream stream : {ToolStream::Errors, ToolStream::Output}) {
        const int fd = m_tool->descriptor(stream);
        if (fd < 0) {
            continue;
        }
        auto &notifier = m_notifiers[static_cast<std::size_t>(stream)];
        notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
        connect(notifier.get(), &QSocketNotifier::activated, this,
                [this, stream] { read(stream); });
    }
    m_watchTimer.start(IdleWatch::askInterval());
}

// A stream may close long before its process ends, and the process may end while the other stream
// still holds text. So the end of the streams only starts to ask for the process's end.
void EventLoopRun::read(ToolStream stream)
{
    m_tool->read(stream);
    if (m_tool->isOver()) {
        reportEnd();
        return;
    }
    if (m_tool->descriptor(stream) < 0) {
        m_notifiers[static_cast<std::size_t>(stream)]->setEnabled(false);
    }
    if (m_tool->descriptor(ToolStream::Output) < 0 && m_tool->descriptor(ToolStream::Errors) < 0) {
        m_exitTimer.start();
        endIfExited();
    }
}

void EventLoopRun::endIfExited()
{
    if (m_tool->hasExited()) {
        m_tool->finish();
        reportEnd();
    }
}

void EventLoopRun::look()
{
    endIfExited();
    m_tool->enforceRules();
    if (m_tool->isOver()) {
        reportEnd();
    }
}

void EventLoopRun::reportEnd()
{
    if (std::exchange(m_isReported, true)) {
        return;
    }
    m_watchTimer.stop();
    m_exitTimer.stop();
    for (const auto &notifier : m_notifiers) {
        if (notifier) {
            notifier->setEnabled(false);
        }
    }
    if (onEnd) {
        onEnd(m_tool->report());
    }
}

bool EventLoopRun::suspend()
{
    if (!isRunning() || m_tool->isSuspended()) {
        return false;
    }
    m_tool->suspend();
    return true;
}

bool EventLoopRun::resume()
{
    if (!isSuspended()) {
        return false;
    }
    m_tool->resume();
    return true;
}

void EventLoopRun::stop()
{
    if (m_tool) {
        m_tool->stop();
        reportEnd();
    }
}

std::optional<WaitingTool> EventLoopRun::takeWaitingTool()
{
    return m_tool ? m_tool->takeWaitingTool() : std::nullopt;
}

} // namespace qv
