#include "process/task_launcher.h"

#include "common/test_files.h"
#include "common/wait_until.h"
#include "process/played.h"

#include <QPointer>

#include <csignal>

using namespace qv;

namespace
{

using Ending = ToolOutcome::Ending;

// Writes down what a run tells, in order.
class Recorder : public TaskLauncherDelegate
{
public:
    QStringList events; // without the chunks
    QString text;
    QByteArray data;
    std::function<void(taskLauncher &)> onText;
    std::function<void(taskLauncher &)> onEnd;

    void didReceiveNewString(taskLauncher &launcher, const QString &chunk) override
    {
        text += chunk;
        EXPECT_FALSE(ended());
        if (onText) {
            onText(launcher);
        }
    }
    void didReceiveNewData(taskLauncher &, const QByteArray &chunk) override { data += chunk; }
    void taskLauncherTaskDidSuspend(taskLauncher &) override { events << "suspend"; }
    void taskLauncherTaskDidResume(taskLauncher &) override { events << "resume"; }
    void taskLauncherTaskDidEnd(taskLauncher &launcher) override
    {
        events << "end";
        if (onEnd) {
            onEnd(launcher);
        }
    }
    bool ended() const { return events.contains("end"); }
};

class TaskLauncherTest : public testing::Test
{
protected:
    void SetUp() override { fresh(); }
    void TearDown() override
    {
        m_launcher.reset();
        // A new spawn reaps what was killed.
        ChildProcess::spawn({{"/bin/true"}, {}, -1, -1, -1, {}});
        EXPECT_TRUE(waitUntil([] { return hasNoChildren(); }, 3000)) << "a child is left behind";
    }
    void fresh()
    {
        m_recorder = Recorder();
        m_launcher = std::make_unique<taskLauncher>();
        m_launcher->setDelegate(&m_recorder);
    }
    int launch(const QStringList &arguments)
    {
        return m_launcher->launchTasksWithArguments(arguments);
    }
    bool runToEnd(const QStringList &arguments)
    {
        return launch(arguments) == taskLauncher::Launched && waitForEnd();
    }
    bool waitForEnd()
    {
        return waitUntil([this] { return m_recorder.ended(); });
    }
    // Whether it came as far as its first word, "up".
    bool launchUntilUp(const QStringList &arguments)
    {
        return launch(arguments) == taskLauncher::Launched &&
               waitUntil([this] { return m_recorder.text == "up"; });
    }
    // The states of this process's children: "S" sleeping, "T" stopped.
    static QByteArray childStates()
    {
        QByteArray states;
        for (const QByteArray &pid : contentOf("/proc/thread-self/children").split(' ')) {
            const QByteArray line = contentOf("/proc/" + pid + "/stat");
            states += pid.isEmpty() ? "" : line.mid(line.lastIndexOf(')') + 2, 1);
        }
        return states;
    }

    Recorder m_recorder;
    std::unique_ptr<taskLauncher> m_launcher;
};

} // namespace

TEST_F(TaskLauncherTest, ReportsTheEndOfAToolOnceHoweverItCame)
{
    const struct {
        QStringList steps;
        const char *text;
        Ending ending;
        int status;
    } rows[] = {
        {{"exit=3"}, "", Ending::Exited, 3},
        {{"out=last words", "crash=11"}, "last words", Ending::Crashed, SIGSEGV},
        {{"out=x", "close=out", "close=err", "sleep=200", "exit=5"}, "x", Ending::Exited, 5},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.status);
        fresh();
        ASSERT_TRUE(runToEnd(played(row.steps)));
        m_launcher->tasklauncherTerminate();
        EXPECT_EQ(m_recorder.events, QStringList{"end"});
        EXPECT_EQ(m_recorder.text, row.text);
        EXPECT_EQ(m_launcher->outcome().ending, row.ending);
        EXPECT_EQ(m_launcher->terminationStatus(), row.status) << "a late stop changes nothing";
        EXPECT_FALSE(m_launcher->isRunning());
    }
}

TEST_F(TaskLauncherTest, DeliversOutputAndErrorTextBeforeTheEnd)
{
    ASSERT_TRUE(runToEnd(played({"out=one\\n", "err=two\\r", "out=three"})));
    for (const char *part : {"one\n", "two\r", "three"}) {
        EXPECT_TRUE(m_recorder.text.contains(part)) << part;
    }
    EXPECT_EQ(m_recorder.text.size(), 13);

    fresh();
    ASSERT_TRUE(runToEnd({"/usr/bin/head", "-c", "5000000", "/dev/zero"}));
    EXPECT_EQ(m_recorder.text.size(), 5'000'000) << "nothing of a large output is lost";
}

TEST_F(TaskLauncherTest, TellsWhyItCannotLaunchAndReportsNothing)
{
    const QTemporaryDir folder;
    const QString noProgram = folder.filePath("text");
    ASSERT_TRUE(QFile(noProgram).open(QIODevice::WriteOnly));
    const QStringList tool = played({"out=x"});
    const struct {
        QStringList arguments;
        int code;
    } rows[] = {
        {{}, 1},
        {QStringList{"|"} + tool, 2},
        {tool + QStringList{"|"}, 2},
        {{"/nowhere/tool", "a"}, 3},
        {{"/nowhere/tools", "a"}, 3}, // the bundle has a resource "tools"
        {piped(tool, {"true"}), 3},
        {{noProgram, "a"}, 4},
    };
    for (const auto &row : rows) {
        fresh();
        EXPECT_EQ(launch(row.arguments), row.code) << row.arguments.join(' ').toStdString();
        EXPECT_EQ(m_launcher->isRunning(), row.code != 1);
        EXPECT_FALSE(waitUntil([this] { return !m_recorder.events.isEmpty(); }, 20));
    }
}

TEST_F(TaskLauncherTest, FeedsOneToolWithTheOther)
{
    ASSERT_TRUE(runToEnd(piped(played({"out=through"}), played({"cat", "err= beside", "exit=4"}))));
    EXPECT_TRUE(m_recorder.text.contains("through"));
    EXPECT_TRUE(m_recorder.text.contains(" beside"));
    EXPECT_EQ(m_launcher->terminationStatus(), 4) << "the last tool's";
    fresh();
    ASSERT_TRUE(runToEnd(piped(played({"sleep=60000"}), played({"out=enough"}))));
    EXPECT_EQ(m_launcher->terminationStatus(), 0) << "the last one's end ends the first";
}

TEST_F(TaskLauncherTest, DropsTextThatIsNotAsciiButDeliversRawBytes)
{
    const QStringList tool = played({"out=\\xC3\\xA9", "sleep=150", "out=plain"});
    ASSERT_TRUE(runToEnd(tool));
    EXPECT_EQ(m_recorder.text, "plain");

    fresh();
    m_launcher->dontConvertDataToString(true);
    ASSERT_TRUE(runToEnd(tool));
    EXPECT_EQ(m_recorder.data, "\xC3\xA9plain");
    EXPECT_EQ(m_recorder.text, "");
}

TEST_F(TaskLauncherTest, StopMarksTheRunAsKilledEvenWhenItIsSuspended)
{
    for (const bool suspended : {false, true}) {
        fresh();
        ASSERT_TRUE(launchUntilUp(played({"out=up", "sleep=60000"})));
        if (suspended) {
            m_launcher->suspend();
        }
        m_launcher->tasklauncherTerminate();
        m_launcher->tasklauncherTerminate();
        const QStringList before = suspended ? QStringList{"suspend", "resume"} : QStringList();
        EXPECT_EQ(m_recorder.events, before + QStringList{"end"});
        EXPECT_EQ(m_launcher->terminationStatus(), taskLauncher::killMark);
        EXPECT_EQ(m_launcher->outcome().ending, Ending::Stopped);
        EXPECT_FALSE(m_launcher->isRunning() || m_launcher->isSuspended());
    }
}

TEST_F(TaskLauncherTest, SuspendStopsEveryToolOfAPipeAndResumeContinuesThem)
{
    const ShortIdleLimit limit;
    ASSERT_TRUE(launchUntilUp(piped(played({"out=up", "sleep=200"}), played({"cat", "exit=6"}))));
    m_launcher->suspend();
    m_launcher->suspend();
    EXPECT_TRUE(waitUntil([] { return childStates() == "TT"; })) << childStates().constData();
    EXPECT_FALSE(waitUntil([this] { return m_recorder.ended(); }, 700))
        << "it does not count as hung";
    EXPECT_EQ(m_recorder.events, QStringList{"suspend"});
    m_launcher->resume();
    m_launcher->resume();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(m_recorder.events, (QStringList{"suspend", "resume", "end"}));
    EXPECT_EQ(m_launcher->terminationStatus(), 6);
}

TEST_F(TaskLauncherTest, DoesNotWaitForAChildOfTheToolThatHoldsTheStreams)
{
    const ShortIdleLimit limit;
    ASSERT_EQ(launch(played({"out=last", "holder=9000", "exit=2"})), 0);
    ASSERT_TRUE(waitUntil([this] { return m_recorder.ended(); }, 5000));
    EXPECT_EQ(m_recorder.text, "last");
    EXPECT_EQ(m_launcher->terminationStatus(), 2);

    fresh();
    const QString floods = "timeout 20 setsid yes & exit 3";
    ASSERT_EQ(launch({"/bin/sh", "-c", floods}), 0);
    ASSERT_TRUE(waitUntil([this] { return m_recorder.ended(); }, 5000)) << "not even if it prints";
    EXPECT_EQ(m_launcher->terminationStatus(), 3);
}

TEST_F(TaskLauncherTest, EndsAToolThatPrintsWithoutEnd)
{
    m_launcher->dontConvertDataToString(true);
    ASSERT_TRUE(runToEnd(played({"fill=/dev/stderr"})));
    EXPECT_EQ(outcomeText(m_launcher->outcome()), "printed more than 64 MB and was ended");
}

TEST_F(TaskLauncherTest, EndsAHungToolButNotABusyOne)
{
    const ShortIdleLimit limit;
    ASSERT_TRUE(runToEnd(played({"sleep=60000"})));
    EXPECT_EQ(m_launcher->outcome().ending, Ending::Hung);
    EXPECT_EQ(m_launcher->terminationStatus(), taskLauncher::killMark);
    fresh();
    ASSERT_TRUE(runToEnd(played({"spin=800", "exit=1"})));
    EXPECT_EQ(m_launcher->terminationStatus(), 1);
}

TEST_F(TaskLauncherTest, ObeysBroadcastsThatCarryItsOwnIdentifier)
{
    TaskBroadcast &broadcast = TaskBroadcast::instance();
    ASSERT_TRUE(launchUntilUp(played({"out=up", "sleep=60000"})));
    const auto uid = m_launcher->uid();
    broadcast.post("fabKillTasks", std::make_shared<const int>(*uid));
    EXPECT_TRUE(m_recorder.events.isEmpty()) << "an equal number is another object";
    broadcast.post("fabPauseTasks", uid);
    broadcast.post("fabResumeTasks", uid);
    broadcast.post("fabKillTasks", uid);
    broadcast.post("fabPauseTasks", uid);
    EXPECT_EQ(m_recorder.events, (QStringList{"suspend", "resume", "end"}));
}

TEST_F(TaskLauncherTest, MayBeGivenUpInItsOwnEndCallbackOrStoppedInATextCallback)
{
    QPointer<taskLauncher> launcher = m_launcher.release();
    m_recorder.onEnd = [](taskLauncher &ended) { ended.deleteLater(); };
    ASSERT_EQ(launcher->launchTasksWithArguments(played({"out=x"})), 0);
    EXPECT_TRUE(waitUntil([&] { return launcher.isNull(); }));
    EXPECT_EQ(m_recorder.events, QStringList{"end"});

    fresh();
    m_recorder.onText = [](taskLauncher &running) { running.tasklauncherTerminate(); };
    ASSERT_TRUE(runToEnd(played({"out=up", "sleep=60000"})));
    EXPECT_EQ(m_recorder.events, QStringList{"end"});
}

TEST_F(TaskLauncherTest, KillsWhatRunsWhenItGoesAndNeedsNoDelegate)
{
    m_launcher->setDelegate(nullptr);
    ASSERT_EQ(launch(played({"out=unheard", "sleep=60000"})), 0);
    EXPECT_FALSE(hasNoChildren());
    EXPECT_FALSE(waitUntil([this] { return !m_launcher->isRunning(); }, 50));
}
