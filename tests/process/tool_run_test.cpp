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
    const QStringList missing{"/nowhere/tool", "a"};
    const QList<QStringList> wrong{{}, missing, tool + QStringList{"|"}, piped(tool, missing)};
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

TEST(OnePipeRun, GivesTheFirstToolAnOpenSilentInputAndTheToolEnvironment)
{
    EXPECT_EQ(run(played({"silent-input=50"})), "open");
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

TEST(Cancellation, EndsOnlyTheRunsOfItsOwnWork)
{
    const auto begin = [](const Cancellation &cancellation) {
        return std::async(std::launch::async, [cancellation] {
            const CancellableRuns runs(cancellation);
            return run({"/bin/sleep", "30"});
        });
    };
    Cancellation other;
    auto untouched = begin(other);
    Cancellation cancellation;
    auto work = begin(cancellation);
    cancellation.cancel();
    EXPECT_EQ(work.wait_for(std::chrono::seconds(20)), std::future_status::ready);
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
