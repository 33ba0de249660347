#pragma once

#include "controller/kept_probe.h"
#include "controller/progress_readers.h"
#include "controller/tool_pool.h"
#include "controller/window_state.h"
#include "process/task_launcher.h"

#include <QMap>

#include <functional>
#include <memory>
#include <optional>

// The two places in which long tool runs happen: one for the encoding, one for the analysis, so
// that a drop can be analysed while a batch is paused. The encoding's has a pool for the runs of a
// row's pictures.
namespace qv
{

// Which of the slot's controls a run uses.
struct RunControls {
    bool progressBar = false;
    bool stopBt = false;
    bool progressWheel = false;
};

class TaskSlots : public QObject, private TaskLauncherDelegate
{
    Q_OBJECT

public:
    // The controls of both slots live in the window's state; `changed` is told of each change.
    TaskSlots(WindowState &window, std::function<void()> changed);
    ~TaskSlots() override;

    // Called when a run of the slot has ended, or could not be started. May start the next run.
    std::function<void()> encodingRunEnded;
    std::function<void()> analysisRunEnded;

    // Launches the tool; 1 when it runs, 0 otherwise. A tool that can't be launched ends at once
    // like any other run, so that the step machine behind it goes on. It may write in the temporary
    // folder and in `outputFolder`.
    int tasklauncherStart(const QStringList &argsArray, float progressMaxValueFloat, int parseInt,
                          const RunControls &controls, bool isTaskOther,
                          const QString &outputFolder = {});

    // Whether a source's pictures are taken as soon as it is analysed: the quick tool then stays.
    void setPicturesFollow(bool follow) { m_keptProbe.setAllowed(follow); }

    // Runs the commands in the encoding's pool, so many at once. The pool reports the runs. Its
    // tools may write in the temporary folder and in `outputFolder`.
    void startPictures(std::vector<QStringList> commands, int atOnce, const QString &outputFolder);
    ToolPool &pictures() { return m_pictures; }
    // Resets the controls and re-enters the step machine, as after a run of one tool.
    void picturesDone();

    // Ends a run: resets the slot's controls, gives up the launcher and re-enters the slot's step
    // machine. Without a launcher it means the analysis slot when that is occupied.
    void taskLauncherDone(taskLauncher *launcher);

    // Pause and continue the batch's runs.
    void tasklauncherSuspend();
    void tasklauncherResume();
    bool isEncodingRunning() const
    {
        return m_encoding.taskClass != nullptr || m_pictures.isRunning();
    }
    bool isAnalysisRunning() const { return m_analysis.taskClass != nullptr; }

    // Kills what runs; its end comes through the usual way.
    void terminateEncoding();
    void terminateAnalysis();
    // Ends what runs in both slots and waits for it. Nothing is told to the step machines.
    void endAll();

    // Everything that the running or last analysis run printed.
    QString analysisTaskVerboseMStr() const { return m_analysisOutput; }
    void releaseAnalysisOutput() { m_analysisOutput.clear(); }

    const RunReport &lastEncodingRun() const { return m_encoding.report; }
    const RunReport &lastAnalysisRun() const { return m_analysis.report; }
    int taskParseInt() const { return m_encoding.taskParseInt; }

private:
    struct Slot {
        explicit Slot(SlotControls &c) : controls(c) {}
        SlotControls &controls;
        std::unique_ptr<taskLauncher> taskClass;
        float taskProgressMaxValue = 0;
        int taskParseInt = CollectOutput;
        std::optional<double> taskPreviousTime; // of the run's progress; nothing before the first
        QByteArray undecoded;                   // the begin of a character whose rest is to come
        QString pendingLine;
        QStringList command; // of a tool that may stay
        RunReport report;
    };

    void didReceiveNewData(taskLauncher &launcher, const QByteArray &data) override;
    void taskLauncherTaskDidSuspend(taskLauncher &launcher) override;
    void taskLauncherTaskDidResume(taskLauncher &launcher) override;
    void taskLauncherTaskDidEnd(taskLauncher &launcher) override;

    int launch(Slot &slot, const QStringList &command, const QString &outputFolder);
    Slot &slotOf(const taskLauncher *launcher);
    void prepareControls(Slot &slot, const RunControls &controls);
    void takeText(Slot &slot, const QString &text);
    void noteToldPicture(Slot &slot, const QString &line);
    void takeLine(Slot &slot, const QString &line);
    void showProgress(Slot &slot, float value);
    void showPause(Slot &slot);
    void showResume(Slot &slot);
    void resetControls(Slot &slot);

    std::function<void()> m_changed;
    Slot m_encoding;
    Slot m_analysis;
    ToolPool m_pictures;
    KeptProbe m_keptProbe;
    QString m_analysisOutput;
    QString m_progressActionStrBeforePause;
};

} // namespace qv
