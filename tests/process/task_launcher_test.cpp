#include "process/task_launcher.h"

#include "common/log_capture.h"
#include "common/wait_until.h"
#include "process/played.h"

#include <QFile>
#include <QPointer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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
    int chunksAfterEnd = 0;
    std::function<void(taskLauncher &)> onText;
    std::function<void(taskLauncher &)> onEnd;

    void didReceiveNewString(taskLauncher &launcher, const QString &chunk) override
    {
        text += chunk;
        chunksAfterEnd += ended() ? 1 : 0;
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
        EXPECT_TRUE(waitUntil([] {
            // A new spawn reaps what was killed.
            const auto end = ChildProcess::spawn({{"/bin/true"}, {}, -1, -1, -1, {}});
            return true;
        }));
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
    bool waitForText(const QString &text)
    {
        return waitUntil([&] { return m_recorder.text.contains(text); });
    }
    // The states of this process's children: "S" sleeping, "T" stopped.
    static QByteArray childStates()
    {
        QFile children(QString("/proc/self/task/%1/children").arg(::getpid()));
        QByteArray states;
        if (!children.open(QIODevice::ReadOnly)) {
            return states;
        }
        for (const QByteArray &pid : children.readAll().split(' ')) {
            QFile stat("/proc/" + QString::fromLatin1(pid) + "/stat");
            if (!pid.isEmpty() && stat.open(QIODevice::ReadOnly)) {
                const QByteArray line = stat.readAll();
                states += line.mid(line.lastIndexOf(')') + 2, 1);
            }
        }
        return states;
    }

    Recorder m_recorder;
    std::unique_ptr<taskLauncher> m_launcher;
};

} // namespace

TEST_F(TaskLauncherTest, ReportsTheEndOfASilentToolOnceWithItsStatus)
{
    ASSERT_TRUE(runToEnd(played({"exit=3"})));
    EXPECT_EQ(m_launcher->terminationStatus(), 3);
    EXPECT_EQ(m_launcher->outcome().ending, ToolOutcome::Ending::Exited);
    EXPECT_FALSE(m_launcher->isRunning());
    EXPECT_EQ(m_recorder.text, "");
    m_launcher->tasklauncherTerminate();
    EXPECT_EQ(m_recorder.events, QStringList{"end"});
    EXPECT_EQ(m_launcher->terminationStatus(), 3) << "a stop after the end changes nothing";
}

TEST_F(TaskLauncherTest, DeliversOutputAndErrorTextBeforeTheEnd)
{
    ASSERT_TRUE(runToEnd(played({"out=one\\n", "err=two\\r", "out=three"})));
    for (const char *part : {"one\n", "two\r", "three"}) {
        EXPECT_TRUE(m_recorder.text.contains(part)) << part;
    }
    EXPECT_EQ(m_recorder.text.size(), 13);
    EXPECT_EQ(m_recorder.chunksAfterEnd, 0);

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
        bool running;
    } rows[] = {
        {{}, 1, false},
        {QStringList{"|"} + tool, 2, true},
        {piped(tool, piped({}, tool)), 2, true},
        {tool + QStringList{"|"}, 2, true},
        {{"/nowhere/tool", "a"}, 3, true},
        {{"", "a"}, 3, true},
        {piped(tool, {"true"}), 3, true},
        {{noProgram, "a"}, 4, true},
        {piped(tool, {folder.path()}), 4, true},
    };
    for (const auto &row : rows) {
        fresh();
        EXPECT_EQ(launch(row.arguments), row.code) << row.arguments.join(' ').toStdString();
        EXPECT_EQ(m_launcher->isRunning(), row.running);
        EXPECT_FALSE(waitUntil([this] { return !m_recorder.events.isEmpty(); }, 20));
        EXPECT_EQ(m_recorder.text, "");
    }
}

TEST_F(TaskLauncherTest, FindsAToolAmongTheBundlesResources)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    ASSERT_TRUE(QFile::link(fakeTool(), Bundle::main().resourcePath() + "/my.player.bin"));
    ASSERT_TRUE(runToEnd({"my.player.bin", "play", "out=here"}));
    EXPECT_EQ(m_recorder.text, "here");
}

TEST_F(TaskLauncherTest, TellsACrashFromAnExit)
{
    ASSERT_TRUE(runToEnd(played({"out=last words", "crash=11"})));
    EXPECT_EQ(m_recorder.text, "last words");
    EXPECT_EQ(m_launcher->terminationStatus(), SIGSEGV);
    EXPECT_EQ(m_launcher->outcome().ending, ToolOutcome::Ending::Crashed);
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

TEST_F(TaskLauncherTest, DropsTextThatIsNotAsciiWithoutAWordButDeliversRawBytes)
{
    const QStringList tool = played({"out=\\xC3\\xA9", "sleep=150", "out=plain"});
    const LogCapture log;
    ASSERT_TRUE(runToEnd(tool));
    EXPECT_EQ(m_recorder.text, "plain");
    EXPECT_FALSE(log.contains("data vs str"));

    fresh();
    m_launcher->dontConvertDataToString(true);
    ASSERT_TRUE(runToEnd(tool));
    EXPECT_EQ(m_recorder.data, "\xC3\xA9plain");
    EXPECT_EQ(m_recorder.text, "");
}

TEST_F(TaskLauncherTest, StopMarksTheRunAsKilled)
{
    ASSERT_EQ(launch(played({"out=up", "sleep=60000"})), 0);
    ASSERT_TRUE(waitForText("up"));
    m_launcher->tasklauncherTerminate();
    m_launcher->tasklauncherTerminate();
    EXPECT_EQ(m_recorder.events, QStringList{"end"});
    EXPECT_EQ(m_launcher->terminationStatus(), taskLauncher::killMark);
    EXPECT_EQ(m_launcher->outcome().ending, ToolOutcome::Ending::Stopped);
    EXPECT_FALSE(m_launcher->isRunning());
}

TEST_F(TaskLauncherTest, SuspendStopsEveryToolOfAPipeAndResumeContinuesThem)
{
    ASSERT_EQ(launch(piped(played({"out=up", "sleep=400"}), played({"cat", "exit=6"}))), 0);
    ASSERT_TRUE(waitForText("up"));
    m_launcher->suspend();
    m_launcher->suspend();
    EXPECT_TRUE(m_launcher->isSuspended());
    EXPECT_TRUE(waitUntil([] { return childStates() == "TT"; })) << childStates().constData();
    EXPECT_EQ(m_recorder.events, QStringList{"suspend"});
    m_launcher->resume();
    m_launcher->resume();
    EXPECT_FALSE(m_launcher->isSuspended());
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(m_recorder.events, (QStringList{"suspend", "resume", "end"}));
    EXPECT_EQ(m_launcher->terminationStatus(), 6);
}

TEST_F(TaskLauncherTest, StopWhileSuspendedContinuesThenKills)
{
    ASSERT_EQ(launch(played({"out=up", "sleep=60000"})), 0);
    ASSERT_TRUE(waitForText("up"));
    m_launcher->suspend();
    m_launcher->tasklauncherTerminate();
    EXPECT_EQ(m_recorder.events, (QStringList{"suspend", "resume", "end"}));
    EXPECT_EQ(m_launcher->terminationStatus(), taskLauncher::killMark);
    EXPECT_FALSE(m_launcher->isSuspended());
}

TEST_F(TaskLauncherTest, ControlsDoNothingBeforeALaunch)
{
    m_launcher->suspend();
    m_launcher->resume();
    m_launcher->tasklauncherTerminate();
    EXPECT_TRUE(m_recorder.events.isEmpty());
}

TEST_F(TaskLauncherTest, WaitsForAToolThatClosesItsStreamsEarly)
{
    ASSERT_TRUE(runToEnd(played({"out=x", "close=out", "close=err", "sleep=200", "exit=5"})));
    EXPECT_EQ(m_recorder.text, "x");
    EXPECT_EQ(m_launcher->terminationStatus(), 5);
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

TEST_F(TaskLauncherTest, EndsAHungToolButNeitherABusyNorASuspendedOne)
{
    const ShortIdleLimit limit;
    const LogCapture log;
    ASSERT_TRUE(runToEnd(played({"sleep=60000"})));
    EXPECT_EQ(m_launcher->outcome().ending, ToolOutcome::Ending::Hung);
    EXPECT_EQ(m_launcher->terminationStatus(), taskLauncher::killMark);
    EXPECT_TRUE(log.contains("hung"));

    fresh();
    ASSERT_TRUE(runToEnd(played({"spin=800", "exit=1"})));
    EXPECT_EQ(m_launcher->terminationStatus(), 1);

    fresh();
    ASSERT_EQ(launch(played({"out=up", "sleep=100", "exit=7"})), 0);
    ASSERT_TRUE(waitForText("up"));
    m_launcher->suspend();
    EXPECT_FALSE(waitUntil([this] { return m_recorder.ended(); }, 700));
    m_launcher->resume();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(m_launcher->terminationStatus(), 7);
}

TEST_F(TaskLauncherTest, ObeysBroadcastsThatCarryItsOwnIdentifier)
{
    TaskBroadcast &broadcast = TaskBroadcast::instance();
    ASSERT_EQ(launch(played({"out=up", "sleep=60000"})), 0);
    ASSERT_TRUE(waitForText("up"));
    const auto uid = m_launcher->uid();
    EXPECT_EQ(uid, m_launcher->uid());
    EXPECT_GT(*uid, 0);
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
    EXPECT_EQ(m_recorder.chunksAfterEnd, 0);
}

TEST_F(TaskLauncherTest, KillsWhatRunsWhenItGoesAndNeedsNoDelegate)
{
    m_launcher->setDelegate(nullptr);
    ASSERT_EQ(launch(played({"out=unheard", "sleep=60000"})), 0);
    EXPECT_FALSE(hasNoChildren());
    EXPECT_FALSE(waitUntil([this] { return !m_launcher->isRunning(); }, 50));
}
