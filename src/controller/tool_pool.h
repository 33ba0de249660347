#pragma once

#include "controller/run_report.h"
#include "process/task_launcher.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

// Runs of tools of which several work at once. Used on the event loop's thread.
namespace qv
{

class ToolPool : public QObject, private TaskLauncherDelegate
{
    Q_OBJECT

public:
    ~ToolPool() override;

    // Called for each run by its number, then once when all have ended. `allEnded` may start more.
    std::function<void(std::size_t run, const RunReport &report)> runEnded;
    std::function<void()> allEnded;
    // A running tool has printed something.
    std::function<void()> printed;

    // Runs the commands, at most `atOnce` at the same time. A tool that can't be started counts as
    // a run that has ended. Only while none is running.
    void start(std::vector<QStringList> commands, int atOnce, const QString &outputFolder);
    bool isRunning() const { return m_isRunning; }
    // Of a run that has not ended: the last lines that it printed. Empty otherwise.
    QByteArray printedBy(std::size_t run) const;

    // Stops and continues all tools; no run begins meanwhile. False when nothing was running.
    bool suspend();
    bool resume();
    // Kills the running tools and begins no more. Each reports its end.
    void terminate();
    bool wasTerminated() const { return m_wasTerminated; }
    // The same, and nothing is reported.
    void endAll();

private:
    struct Run {
        QStringList command;
        std::unique_ptr<taskLauncher> tool; // while it runs
        QByteArray printed;
    };

    void didReceiveNewData(taskLauncher &tool, const QByteArray &data) override;
    void taskLauncherTaskDidEnd(taskLauncher &tool) override;

    void startWaiting();
    void launch(Run &run);
    void end(std::size_t number);
    void endIfAllHave();
    std::size_t numberOf(const taskLauncher &tool) const;

    std::vector<Run> m_runs;
    std::size_t m_begun = 0;
    std::size_t m_working = 0;
    std::size_t m_atOnce = 1;
    QString m_outputFolder;
    bool m_isRunning = false;
    bool m_isSuspended = false;
    bool m_wasTerminated = false;
};

} // namespace qv
