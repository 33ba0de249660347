#pragma once

#include "process/event_loop_run.h"

#include <QObject>
#include <QStringList>

#include <optional>

// One tool, or a pipeline of tools, run without blocking the event loop.
namespace qv
{

class taskLauncher;

// What a run tells, in this order; everything on the event loop's thread.
class TaskLauncherDelegate
{
public:
    virtual ~TaskLauncherDelegate() = default;
    // A chunk of output or error text, as it came: not split into lines.
    virtual void didReceiveNewString(taskLauncher &, const QString &) {}
    // The same as raw bytes, when the launcher was told not to convert.
    virtual void didReceiveNewData(taskLauncher &, const QByteArray &) {}
    virtual void taskLauncherTaskDidSuspend(taskLauncher &) {}
    virtual void taskLauncherTaskDidResume(taskLauncher &) {}
    // Once, whatever the cause. The launcher may be given up here with deleteLater().
    virtual void taskLauncherTaskDidEnd(taskLauncher &) {}
};

// For one launch only.
class taskLauncher : public QObject
{
    Q_OBJECT

public:
    // terminationStatus() of a run that was ended before its last process had ended by itself.
    static constexpr int killMark = -7654312;

    enum LaunchResult {
        Launched = 0,
        NoArguments = 1,
        EmptyGroup = 2,
        ToolNotFound = 3, // neither as given nor as a resource of the bundle
        CannotStart = 4,  // it is there, but the system refuses to run it
    };

    explicit taskLauncher(QObject *parent = nullptr);
    ~taskLauncher() override;

    void setDelegate(TaskLauncherDelegate *delegate) { m_delegate = delegate; }
    TaskLauncherDelegate *delegate() const { return m_delegate; }
    // Before the launch: chunks then come as bytes. Text chunks that are not ASCII are dropped, so
    // whoever needs every word of a tool takes the bytes.
    void dontConvertDataToString(bool raw) { m_isRaw = raw; }

    // Before the launch: a folder beside the temporary one that the tools may write in.
    void setOutputFolder(const QString &folder) { m_outputFolder = folder; }

    // Before the launch of a single tool: it may stay after its work, which it announces by the
    // line "waiting" as the first text on its standard output. The run then ends as with exit code
    // 0.
    void allowWaiting() { m_mayWait = true; }
    // The tool that waits after such an end; nothing if it has ended or was taken before.
    std::optional<WaitingTool> takeWaitingTool() { return m_run.takeWaitingTool(); }
    // In place of a launch: the tool goes on with these arguments. CannotStart when it has ended
    // meanwhile, or can't take so many; the command may then be launched.
    int continueTool(WaitingTool tool, const QStringList &arguments);

    // One of LaunchResult. After a failure nothing is reported to the delegate.
    int launchTasksWithArguments(const QStringList &arguments);

    // Stops and continues every process of the pipeline, the consumer end first and last.
    void suspend();
    void resume();
    // Kills what still runs and reports the end. Nothing before a launch.
    void tasklauncherTerminate();

    bool isRunning() const { return m_isRunning; }
    bool isSuspended() const { return m_isSuspended; }
    // Exit status of the last process (the signal's number when it crashed), or killMark.
    int terminationStatus() const { return m_terminationStatus; }
    // The same, told apart: exited, crashed, stopped, hung.
    ToolOutcome outcome() const { return m_outcome; }

private:
    int launchTools(const QList<QStringList> &groups);
    void deliver(const QByteArray &data);
    void sendNotificationWithString(const QString &text);
    void sendNotificationWithData(const QByteArray &data);
    void ended(const ToolReport &report);
    void notifyThatTaskEnded();

    EventLoopRun m_run;
    TaskLauncherDelegate *m_delegate = nullptr;
    QString m_outputFolder;
    bool m_mayWait = false;
    bool m_hasTasks = false; // from the launch on, even if it failed
    bool m_alreadyNotified = false;
    bool m_isRunning = false;
    int m_terminationStatus = 0;
    bool m_isSuspended = false;
    bool m_isRaw = false;
    ToolOutcome m_outcome;
};

} // namespace qv
