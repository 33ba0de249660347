#include "published/shell_run.h"
#include "published/task_broadcast.h"

#include "process/cancellation.h"
#include "process/played.h"
#include "support/log.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <future>

using namespace qv;

TEST(ShellRun, StartsInTheWorkingFolderAndRemovesOneFinalNewline)
{
    const QTemporaryDir folder;
    const QString real = QDir(folder.path()).canonicalPath();
    EXPECT_EQ(taskWithStr("pwd; echo; exit 7", real), real + "\n");
    EXPECT_EQ(taskWithStr("pwd", real + "/missing"), QDir::currentPath());
    for (const char *nothing : {"echo", "printf '\\377'"}) {
        EXPECT_TRUE(taskWithStr(nothing, {}).isNull()) << nothing;
    }
}

TEST(SafeText, IsOnlyThePipeSignAndRunsNothing)
{
    const QTemporaryDir folder;
    const QString trap = folder.filePath("trap");
    setDebug(true);
    for (const QString &text : {QString(), QString("plain"), "$(touch${IFS}" + trap + ")",
                                ";touch\t" + trap + ";", "';touch\t" + trap + ";'"}) {
        EXPECT_FALSE(isStringSafe4Task(text)) << text.toStdString();
    }
    setDebug(false);
    EXPECT_TRUE(isStringSafe4Task("|"));
    EXPECT_FALSE(QFile::exists(trap));
}

TEST(BlockingRunner, RunsAShellLineWithItsPositionalParameters)
{
    EXPECT_EQ(taskBloquante::verbose({"echo $0-$1; echo fault >&2; echo", "a", "b c"}),
              "a-b c\nfault\n");
    EXPECT_EQ(taskBloquante::verbose({"printf '\\351\\0lost'"}), "é") << "8-bit, up to a zero";
    EXPECT_TRUE(taskBloquante::verbose({"exit 1"}).isNull());
}

TEST(ShellRuns, EndWhenHungOrCancelledAndNotWhilePrinting)
{
    const ShortIdleLimit limit;
    EXPECT_EQ(taskWithStr("printf x; sleep 60", {}), "x");
    EXPECT_EQ(taskBloquante::verbose({"printf y; sleep 60"}), "y");
    EXPECT_EQ(taskWithStr("for i in 1 2 3; do printf $i; sleep .2; done", {}), "123");

    Cancellation cancellation;
    auto work = std::async(std::launch::async, [cancellation] {
        const CancellableRuns runs(cancellation);
        return taskBloquante::verbose({"while :; do :; done"});
    });
    cancellation.cancel();
    EXPECT_EQ(work.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(TaskBroadcast, ReachesTheLauncherWhoseIdentifierItCarries)
{
    TaskBroadcast &broadcast = TaskBroadcast::instance();
    BroadcastTaskLauncher launcher;
    ASSERT_EQ(launcher.launchTasksWithArguments(played({"sleep=60000"})), 0);
    const auto uid = launcher.uid();
    broadcast.post("fabKillTasks", std::make_shared<const int>(*uid));
    EXPECT_TRUE(launcher.isRunning()) << "an equal number is another object";
    broadcast.post("fabPauseTasks", uid);
    EXPECT_TRUE(launcher.isSuspended());
    broadcast.post("fabResumeTasks", uid);
    EXPECT_TRUE(launcher.isRunning() && !launcher.isSuspended());
    broadcast.post("fabKillTasks", uid);
    broadcast.post("fabPauseTasks", uid);
    EXPECT_FALSE(launcher.isRunning() || launcher.isSuspended());
}
