#pragma once

#include "process/tool_process.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <memory>

// A run of a tool, or of a pipeline, that is followed from the event loop. For one run only.
namespace qv
{

class EventLoopRun : public QObject
{
    Q_OBJECT

public:
    explicit EventLoopRun(QObject *parent = nullptr);

    // Takes the chunks as they come; when empty, the report collects them.
    ToolProcess::Receiver onChunk;
    // Called once for a run that was started, from the event loop or from stop(). This object may
    // be given up in both with deleteLater().
    std::function<void(const ToolReport &)> onEnd;

    tl::expected<void, ToolStartFailure> start(const ToolCommand &command,
                                               const ToolRules &rules = {});
    // In place of a start. False: see ToolProcess::continueTool().
    bool continueTool(WaitingTool tool, const QStringList &arguments);

    bool isRunning() const { return m_tool && !m_tool->isOver(); }
    // False when there was nothing to do.
    bool suspend();
    bool resume();
    bool isSuspended() const { return m_tool && m_tool->isSuspended(); }
    // Kills what runs and reports the end.
    void stop();

    std::optional<WaitingTool> takeWaitingTool();

private:
    void follow(ToolProcess tool);
    void read(ToolStream stream);
    void look();
    void endIfExited();
    void reportEnd();

    std::optional<ToolProcess> m_tool;
    std::array<std::unique_ptr<QSocketNotifier>, 2> m_notifiers;
    QTimer m_watchTimer;
    QTimer m_exitTimer;
    bool m_isReported = false;
};

} // namespace qv
