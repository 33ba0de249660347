#include "process/tool_run.h"

#include "common/log_capture.h"
#include "common/scripted_presenter.h"
#include "common/wait_until.h"
#include "process/played.h"

#include <QDir>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <future>

using namespace qv;

namespace
{

const QString missing = "/nowhere/tool";

QString run(const QStringList &arguments)
{
    return taskArray1PipeMax(arguments, ErrorText::Merged);
}

QStringList shell(const QString &line)
{
    return {"/bin/sh", "-c", line};
}

} // namespace

TEST(OnePipeRun, GivesWhatWasPrintedAsItStandsOrNothing)
{
    const QString nothing;
    const struct {
        QStringList steps;
        QString expected;
    } rows[] = {
        {{"out=hello\\n\\n"}, "hello\n\n"},
        {{"out=a", "err=b", "out=c"}, "abc"},
        {{"out=last words", "crash=11"}, "last words"},
        {{"out=\\xC3\\xA9t\\xC3\\xA9"}, "été"},
        {{"out=\\n\\n"}, "\n\n"},
        {{"out= \\n"}, nothing},
        {{"out=a\\xFFb"}, nothing},
        {{"out=cut short \\xC3"}, nothing},
    };
    for (const auto &row : rows) {
        for (const QString &text : {run(played(row.steps)), taskArrayPipes(played(row.steps))}) {
            EXPECT_EQ(text, row.expected) << row.steps.join(' ').toStdString();
            EXPECT_EQ(text.isNull(), row.expected.isNull()) << row.steps.join(' ').toStdString();
        }
    }
    EXPECT_TRUE(hasNoChildren());
}

TEST(OnePipeRun, LeavesErrorTextToTheApplicationUnlessItIsMerged)
{
    const QStringList tool = shell("echo fault >&2; echo data");
    testing::internal::CaptureStderr();
    EXPECT_EQ(taskArray1PipeMax(tool, ErrorText::Inherited), "data\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "fault\n");

    testing::internal::CaptureStderr();
    EXPECT_EQ(run(piped(shell("echo first >&2; echo data"), shell("cat; echo second >&2"))),
              "data\nsecond\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "first\n");
}

TEST(ToolRuns, GiveNothingForArraysThatCannotRun)
{
    ScriptedPresenter presenter;
    const LogCapture log;
    const QStringList tool = played({"out=x"});
    const QList<QStringList> wrong{
        {}, {missing, "a"}, tool + QStringList{"|"}, piped(tool, {missing, "a"})};
    for (const QStringList &array : wrong) {
        EXPECT_TRUE(run(array).isNull()) << array.join(' ').toStdString();
        EXPECT_TRUE(taskArrayPipes(array).isNull()) << array.join(' ').toStdString();
    }
    EXPECT_TRUE(run({fakeTool()}).isNull());
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_TRUE(log.contains("taskArray1PipeMax   - deb"));
    EXPECT_TRUE(log.contains("taskArrayPipes      :-( tool !present '/nowhere/tool'"));
}

TEST(OnePipeRun, RefusesASecondPipeWithAnAlertThatNamesTheWholeArray)
{
    ScriptedPresenter presenter;
    const QStringList two = piped(piped(played({"out=100%"}), played({"cat"})), played({"cat"}));
    EXPECT_TRUE(run(two).isNull());
    const QString title = "taskArray1PipeMax is limited to one pipe only (actually) :-(";
    ASSERT_EQ(presenter.countOf(title), 1);
    EXPECT_EQ(Alert::shownText(presenter.shown.first().detail), two.join(' '));
}

TEST(OnePipeRun, GivesTheFirstToolAnOpenSilentInput)
{
    EXPECT_EQ(run(played({"silent-input=50"})), "open");
}

TEST(OnePipeRun, GivesTheToolEnvironmentToTheFirstToolOnly)
{
    qputenv("LC_CTYPE", "own");
    const QStringList asks =
        piped(played({"env=LC_CTYPE", "out= "}), played({"cat", "env=LC_CTYPE"}));
    EXPECT_EQ(run(asks), "en_US.UTF-8 own");
    EXPECT_EQ(taskArrayPipes(asks), "en_US.UTF-8 en_US.UTF-8");
    qunsetenv("LC_CTYPE");
}

TEST(OnePipeRun, PassesArgumentsUntouchedButForTheTilde)
{
    const QString home = QDir::homePath();
    EXPECT_EQ(run({"/bin/echo", "~/a", "~/http://b", "two  blanks", "'q' \"q\" $HOME *", "é"}),
              home + "/a ~/http://b two  blanks 'q' \"q\" $HOME * é\n");
}

TEST(OnePipeRun, TakesMoreThanAPipeHolds)
{
    EXPECT_EQ(run({"/usr/bin/head", "-c", "20000000", "/dev/zero"}).size(), 20'000'000);
}

TEST(OnePipeRun, IsOverWhenTheOutputEndsEvenIfTheToolRunsOn)
{
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(
        taskArray1PipeMax(played({"out=x", "close=out", "sleep=60000"}), ErrorText::Inherited),
        "x");
    EXPECT_LT(clock.elapsed(), 10000);
}

TEST(Pipeline, RunsAnyNumberOfToolsAndMergesTheLastOnesErrorText)
{
    EXPECT_EQ(taskArrayPipes(
                  piped(piped(shell("echo a"), shell("sed s/a/b/")), shell("cat; echo last >&2"))),
              "b\nlast\n");
    EXPECT_EQ(taskArrayPipes({"/bin/pwd"}), QDir::currentPath() + "\n") << "a tool may run bare";
}

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

TEST(HungTool, IsKilledWhateverHoldsItsOutputAndWhatItPrintedCounts)
{
    const ShortIdleLimit limit;
    const QStringList hangs = played({"out=before", "sleep=60000"});
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(run(hangs), "before");
    EXPECT_EQ(taskArrayPipes(hangs), "before");
    EXPECT_EQ(taskWithStr("printf x; sleep 60", {}), "x");
    EXPECT_EQ(taskBloquante::verbose({"printf y; sleep 60"}), "y");
    EXPECT_EQ(run(played({"out=x", "holder=9000", "sleep=60000"})), "x");
    EXPECT_EQ(run(played({"out=y", "holder=9000"})), "y");
    EXPECT_LT(clock.elapsed(), 6000) << "nor waits for a child of the tool";
}

TEST(HungTool, IsNotOneThatComputesOrPrintsNowAndThen)
{
    const ShortIdleLimit limit;
    EXPECT_EQ(run(played({"spin=900", "out=done"})), "done");
    EXPECT_EQ(run(played({"out=1", "sleep=200", "out=2", "sleep=200", "out=3"})), "123");
    EXPECT_EQ(taskWithStr("for i in 1 2 3; do printf $i; sleep .2; done", {}), "123");
}

TEST(Cancellation, EndsOnlyTheRunsOfItsOwnWork)
{
    const auto begin = [](const Cancellation &cancellation, bool isShell) {
        return std::async(std::launch::async, [cancellation, isShell] {
            const CancellableRuns runs(cancellation);
            return isShell ? taskBloquante::verbose({"sleep 30"}) : run({"/bin/sleep", "30"});
        });
    };
    Cancellation other;
    auto untouched = begin(other, false);
    for (const bool isShell : {false, true}) {
        Cancellation cancellation;
        auto work = begin(cancellation, isShell);
        cancellation.cancel();
        EXPECT_EQ(work.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    }
    EXPECT_EQ(untouched.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    other.cancel();
    EXPECT_EQ(untouched.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(Interrupt, EndsBlockingRunsEvenOfAToolThatNeverStopsPrinting)
{
    QElapsedTimer clock;
    clock.start();
    setBlockingRunsInterrupted(true);
    run({"/bin/sleep", "30"});
    run({"/usr/bin/timeout", "25", "yes"});
    setBlockingRunsInterrupted(false);
    EXPECT_LT(clock.elapsed(), 20000);
}
