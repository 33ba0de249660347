#include "process/task_launcher.h"

#include "common/test_files.h"
#include "common/wait_until.h"
#include "process/played.h"
#include "process/tool_run.h"

#include <QElapsedTimer>
#include <QPointer>

#include <csignal>

using namespace qv;

namespace
{

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

// Blocking runs give the text alone.
TEST_F(TaskLauncherTest, RunsFollowTheSameRulesHereAndInBlockingRuns)
{
    const ShortIdleLimit limit;
    const QString hung = "neither printed nor computed for 0.3 s and was ended";
    const struct {
        QStringList steps;
        QString text;
        QString ending;
        int status;
    } rows[] = {
        {{"exit=3"}, {}, "ended with exit status 3", 3},
        {{"out=last words", "crash=11"}, "last words", "died by signal 11 (", SIGSEGV},
        {{"out=x", "close=out", "close=err", "sleep=200", "exit=5"}, "x", "exit status 5", 5},
        {{"out=before", "sleep=60000"}, "before", hung, taskLauncher::killMark},
        {{"spin=900", "out=busy"}, "busy", "exit status 0", 0},
        {{"out=1", "sleep=200", "out=2", "sleep=200", "out=3"}, "123", "exit status 0", 0},
        // Nobody waits for a child of the tool that holds the streams.
        {{"out=y", "holder=9000", "sleep=60000"}, "y", hung, taskLauncher::killMark},
        {{"out=last", "holder=9000", "exit=2"}, "last", "exit status 2", 2},
    };
    for (const auto &row : rows) {
        const QStringList tool = played(row.steps);
        SCOPED_TRACE(tool.join(' ').toStdString());
        fresh();
        ASSERT_EQ(launch(tool), taskLauncher::Launched);
        ASSERT_TRUE(waitUntil([this] { return m_recorder.ended(); }, 5000));
        m_launcher->tasklauncherTerminate();
        EXPECT_EQ(m_recorder.events, QStringList{"end"});
        EXPECT_EQ(m_recorder.text, row.text);
        EXPECT_TRUE(outcomeText(m_launcher->outcome()).contains(row.ending));
        EXPECT_EQ(m_launcher->terminationStatus(), row.status) << "a late stop changes nothing";
        EXPECT_FALSE(m_launcher->isRunning());

        QElapsedTimer clock;
        clock.start();
        EXPECT_EQ(taskArray1PipeMax(tool, ErrorText::Merged), row.text);
        EXPECT_EQ(taskArrayPipes(tool), row.text);
        EXPECT_LT(clock.elapsed(), 6000);
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
    const QStringList large{"/usr/bin/head", "-c", "5000000", "/dev/zero"};
    ASSERT_TRUE(runToEnd(large));
    EXPECT_EQ(m_recorder.text.size(), 5'000'000) << "nothing of a large output is lost";
    EXPECT_EQ(taskArray1PipeMax(large, ErrorText::Merged).size(), 5'000'000);
}

TEST_F(TaskLauncherTest, TellsWhyItCannotLaunchAndReportsNothing)
{
    const QTemporaryDir folder;
    const QString noProgram = folder.filePath("text");
    ASSERT_TRUE(QFile(noProgram).open(QIODevice::WriteOnly));
    const QStringList tool = played({"out=x"});
    const std::pair<QStringList, int> rows[] = {
        {{}, 1},
        {QStringList{"|"} + tool, 2},
        {tool + QStringList{"|"}, 2},
        {{"/nowhere/tool", "a"}, 3},
        {{"/nowhere/tools", "a"}, 3}, // the bundle has a resource "tools"
        {piped(tool, {"true"}), 3},
        {{noProgram, "a"}, 4},
    };
    for (const auto &[arguments, code] : rows) {
        fresh();
        EXPECT_EQ(launch(arguments), code) << arguments.join(' ').toStdString();
        EXPECT_EQ(m_launcher->isRunning(), code != 1);
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
        EXPECT_EQ(m_launcher->outcome().ending, ToolOutcome::Ending::Stopped);
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

TEST_F(TaskLauncherTest, EndsAToolThatPrintsWithoutEndAndDoesNotWaitForItsChild)
{
    const ShortIdleLimit limit;
    m_launcher->dontConvertDataToString(true);
    ASSERT_TRUE(runToEnd(played({"fill=/dev/stderr"})));
    EXPECT_EQ(outcomeText(m_launcher->outcome()), "printed more than 64 MB and was ended");
    EXPECT_EQ(m_recorder.data.size(), 64 << 20) << "what it printed until then counts";
    fresh();
    ASSERT_EQ(launch({"/bin/sh", "-c", "timeout 20 setsid yes & exit 3"}), 0);
    ASSERT_TRUE(waitUntil([this] { return m_recorder.ended(); }, 5000));
    EXPECT_EQ(m_launcher->terminationStatus(), 3);
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
