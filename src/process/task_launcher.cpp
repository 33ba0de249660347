#include "process/task_launcher.h"

#include "process/argument_array.h"
#include "process/tool_request.h"
#include "support/alerts.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/log.h"

#include <algorithm>

namespace qv
{
namespace
{

// The executable as given, else a resource of that name in the bundle; empty when neither exists.
QString resolvedExecutable(const QString &element)
{
    if (fileExists(element)) {
        return element;
    }
    return Bundle::main().resource(withoutExtension(element), pathExtension(element));
}

bool isAscii(const QByteArray &data)
{
    return std::none_of(data.begin(), data.end(),
                        [](char c) { return static_cast<unsigned char>(c) > 127; });
}

} // namespace

taskLauncher::taskLauncher(QObject *parent) : QObject(parent)
{
    m_run.onChunk = [this](ToolStream, const QByteArray &data) { deliver(data); };
    m_run.onEnd = [this](const ToolReport &report) { ended(report); };
}

taskLauncher::~taskLauncher()
{
    if (!m_hasTasks) {
        alertReport(QStringLiteral("taskLauncher.m :-( try to release a yet-released task"),
                    QString(), 0, AlertPlace::ApplicationModal);
    }
}

int taskLauncher::launchTasksWithArguments(const QStringList &arguments)
{
    if (arguments.isEmpty()) {
        return NoArguments;
    }
    m_isSuspended = false;
    m_isRunning = true;
    const auto groups = splitPipeline(arguments);
    if (!groups) {
        return EmptyGroup;
    }
    QList<QStringList> resolved = *groups;
    m_hasTasks = true;
    for (QStringList &group : resolved) {
        group.first() = resolvedExecutable(group.first());
        if (group.first().isEmpty()) {
            return ToolNotFound;
        }
    }
    return launchTools(resolved);
}

int taskLauncher::launchTools(const QList<QStringList> &groups)
{
    ToolCommand command{.errorText = ErrorText::Apart, .mayWait = m_mayWait && groups.size() == 1};
    for (const QStringList &group : groups) {
        command.tools.push_back(toolRequest(group, m_outputFolder));
    }
    if (const auto started = m_run.start(command); !started) {
        m_outcome = started.error().outcome();
        logLine(QStringLiteral("taskLauncher        :-( %1: %2")
                    .arg(started.error().tool, m_outcome.cause));
        return CannotStart;
    }
    return Launched;
}

int taskLauncher::continueTool(WaitingTool tool, const QStringList &arguments)
{
    m_hasTasks = true;
    m_isRunning = m_run.continueTool(std::move(tool), arguments);
    return m_isRunning ? Launched : CannotStart;
}

void taskLauncher::deliver(const QByteArray &data)
{
    if (m_isRaw) {
        sendNotificationWithData(data);
    } else if (isAscii(data)) { // other text is dropped without a word
        sendNotificationWithString(QString::fromLatin1(data));
    }
}

void taskLauncher::sendNotificationWithString(const QString &text)
{
    if (m_delegate != nullptr) {
        m_delegate->didReceiveNewString(*this, text);
    }
}

void taskLauncher::sendNotificationWithData(const QByteArray &data)
{
    if (m_delegate != nullptr) {
        m_delegate->didReceiveNewData(*this, data);
    }
}

void taskLauncher::tasklauncherTerminate()
{
    m_isRunning = false;
    if (!m_hasTasks) {
        return;
    }
    resume();
    if (m_run.isRunning()) {
        m_run.stop();
        return;
    }
    if (m_outcome.ending == ToolOutcome::Ending::NotStarted) {
        m_terminationStatus = killMark;
    }
    notifyThatTaskEnded();
}

void taskLauncher::ended(const ToolReport &report)
{
    using Ending = ToolOutcome::Ending;
    m_isRunning = false;
    m_outcome = report.outcome;
    if (m_outcome.ending == Ending::Hung) {
        logLine(QStringLiteral("taskLauncher        :-( %1, killed")
                    .arg(m_outcome.cause.isEmpty() ? QStringLiteral("hung")
                                                   : QStringLiteral("endless")));
    }
    resume();
    m_terminationStatus = m_outcome.ending == Ending::Exited    ? m_outcome.exitCode
                          : m_outcome.ending == Ending::Crashed ? m_outcome.signal
                                                                : killMark;
    notifyThatTaskEnded();
}

void taskLauncher::notifyThatTaskEnded()
{
    if (m_delegate != nullptr && !m_alreadyNotified) {
        m_alreadyNotified = true;
        m_delegate->taskLauncherTaskDidEnd(*this);
    }
}

void taskLauncher::suspend()
{
    if (!m_hasTasks || m_isSuspended) {
        return;
    }
    m_run.suspend();
    m_isSuspended = true;
    if (m_delegate != nullptr) {
        m_delegate->taskLauncherTaskDidSuspend(*this);
    }
}

void taskLauncher::resume()
{
    if (!m_hasTasks || !m_isSuspended) {
        return;
    }
    m_run.resume();
    m_isSuspended = false;
    if (m_delegate != nullptr) {
        m_delegate->taskLauncherTaskDidResume(*this);
    }
}

} // namespace qv
