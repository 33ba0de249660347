#include "process/tool_run.h"

#include "common/log_capture.h"
#include "common/scripted_presenter.h"
#include "common/wait_until.h"
#include "process/played.h"
#include "support/log.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>

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

// Sets a variable of the application's own environment for one test.
class Variable
{
public:
    Variable(const char *name, const QByteArray &value) : m_name(name), m_before(qgetenv(name))
    {
        qputenv(name, value);
    }
    ~Variable() { m_before.isNull() ? qunsetenv(m_name) : qputenv(m_name, m_before); }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

private:
    const char *m_name;
    QByteArray m_before;
};

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
        {{"out=said so", "exit=3"}, "said so"},
        {{"out=last words", "crash=11"}, "last words"},
        {{"out=\\xC3\\xA9t\\xC3\\xA9"}, "été"},
        {{"out=\\n\\n"}, "\n\n"},
        {{"exit=0"}, nothing},
        {{"out= "}, nothing},
        {{"out=\\n"}, nothing},
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

TEST(OnePipeRun, GivesNothingForArraysThatCannotRun)
{
    ScriptedPresenter presenter;
    const LogCapture log;
    const QStringList tool = played({"out=x"});
    for (const QStringList &wrong : {QStringList(),
                                     {missing, "a"},
                                     {fakeTool()},
                                     tool + QStringList{"|"},
                                     piped({fakeTool()}, tool),
                                     piped(tool, {missing, "a"}),
                                     piped({"|"}, tool)}) {
        EXPECT_TRUE(run(wrong).isNull()) << wrong.join(' ').toStdString();
    }
    EXPECT_TRUE(presenter.shown.isEmpty());
    EXPECT_TRUE(log.contains("taskArray1PipeMax   - deb"));
}

TEST(OnePipeRun, RefusesASecondPipeWithAnAlertThatNamesTheWholeArray)
{
    ScriptedPresenter presenter;
    const QStringList two = piped(piped(played({"out=100%"}), played({"cat"})), played({"cat"}));
    EXPECT_TRUE(run(two).isNull());
    ASSERT_EQ(presenter.shown.size(), 1);
    const Alert &alert = presenter.shown.first();
    EXPECT_EQ(alert.title, "taskArray1PipeMax is limited to one pipe only (actually) :-(");
    EXPECT_EQ(Alert::shownText(alert.detail), two.join(' '));
    EXPECT_EQ(alert.style, AlertStyle::Critical);
}

TEST(OnePipeRun, GivesTheFirstToolAnOpenSilentInput)
{
    EXPECT_EQ(run(played({"silent-input=50"})), "open");
}

TEST(OnePipeRun, GivesTheToolEnvironmentToTheFirstToolOnly)
{
    const Variable own("LC_CTYPE", "own");
    const QStringList asks =
        piped(played({"env=LC_CTYPE", "out= "}), played({"cat", "env=LC_CTYPE"}));
    EXPECT_EQ(run(asks), "en_US.UTF-8 own");
    EXPECT_EQ(taskArrayPipes(asks), "en_US.UTF-8 en_US.UTF-8");
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
    EXPECT_EQ(run(piped({"/usr/bin/head", "-c", "3000000", "/dev/zero"}, {"/bin/cat", "-"})).size(),
              3'000'000);
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
    testing::internal::CaptureStderr();
    const QStringList middle = shell("sed s/a/b/; echo middle >&2");
    EXPECT_EQ(taskArrayPipes(piped(piped(shell("echo a"), middle), shell("cat; echo last >&2"))),
              "b\nlast\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "middle\n");
    EXPECT_EQ(taskArrayPipes({"/bin/pwd"}), QDir::currentPath() + "\n") << "a tool may run bare";
}

TEST(Pipeline, GivesNothingForArraysThatCannotRunAndNamesAMissingTool)
{
    const LogCapture log;
    const QStringList tool = played({"out=x"});
    for (const QStringList &wrong : {QStringList(),
                                     {missing},
                                     QStringList{"|"} + tool,
                                     piped(tool, piped({}, tool)),
                                     tool + QStringList{"|"}}) {
        EXPECT_TRUE(taskArrayPipes(wrong).isNull()) << wrong.join(' ').toStdString();
    }
    EXPECT_FALSE(log.contains("!present"));
    EXPECT_TRUE(taskArrayPipes(piped(tool, {missing, "a"})).isNull());
    EXPECT_TRUE(log.contains("taskArrayPipes      :-( tool !present '/nowhere/tool'"));
}

TEST(ShellRun, RemovesOneFinalNewlineAndGivesNothingForNoText)
{
    EXPECT_EQ(taskWithStr("printf 'a\\n\\n'", {}), "a\n");
    EXPECT_EQ(taskWithStr("printf ' '", {}), " ");
    EXPECT_EQ(taskWithStr("printf 'b'; exit 7", {}), "b");
    EXPECT_TRUE(taskWithStr("printf '\\377'", {}).isNull());
    const LogCapture log;
    EXPECT_TRUE(taskWithStr("echo", {}).isNull());
    EXPECT_TRUE(log.contains("stringOutput        :-/ ''"));
}

TEST(ShellRun, StartsInTheWorkingFolderWhenThereIsOne)
{
    const QTemporaryDir folder;
    const QString real = QDir(folder.path()).canonicalPath();
    const LogCapture log;
    EXPECT_EQ(taskWithStr("pwd", real), real);
    EXPECT_TRUE(log.contains("cd : " + real));
    EXPECT_EQ(taskWithStr("pwd", real + "/missing"), QDir::currentPath());
    EXPECT_EQ(taskWithStr("echo $LC_CTYPE", ""), "en_US.UTF-8");
}

TEST(SafeText, IsOnlyThePipeSign)
{
    const QTemporaryDir folder;
    const QString trap = folder.filePath("trap");
    setDebug(true);
    for (const QString &text :
         {QString(), QString(""), QString("plain"), QString("a b"), "$(touch${IFS}" + trap + ")",
          ";touch\t" + trap + ";", "';touch\t" + trap + ";'"}) {
        EXPECT_FALSE(isStringSafe4Task(text)) << text.toStdString();
    }
    setDebug(false);
    EXPECT_TRUE(isStringSafe4Task("|"));
    EXPECT_FALSE(QFile::exists(trap));
}

TEST(BlockingRunner, RunsAShellLineWithItsPositionalParameters)
{
    const Variable own("LC_CTYPE", "own");
    EXPECT_EQ(taskBloquante::verbose({"echo $0-$1; echo fault >&2; echo $LC_CTYPE", "a", "b c"}),
              "a-b c\nfault\nown");
    EXPECT_EQ(taskBloquante::verbose({"printf 'x\\n\\n'"}), "x\n");
    EXPECT_EQ(taskBloquante::verbose({"printf '\\351\\0lost'"}), "é") << "8-bit, up to a zero";
    EXPECT_TRUE(taskBloquante::verbose({"exit 1"}).isNull());
    EXPECT_TRUE(hasNoChildren());
}

TEST(HungTool, IsKilledAndWhatItPrintedCounts)
{
    const ShortIdleLimit limit;
    const QStringList hangs = played({"out=before", "sleep=60000"});
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(run(hangs), "before");
    EXPECT_EQ(run(piped(played({"out=a", "sleep=60000"}), played({"cat"}))), "a");
    EXPECT_EQ(taskArrayPipes(hangs), "before");
    EXPECT_EQ(taskWithStr("printf x; sleep 60", {}), "x");
    EXPECT_EQ(taskBloquante::verbose({"printf y; sleep 60"}), "y");
    EXPECT_LT(clock.elapsed(), 10000);
}

TEST(HungTool, DoesNotKeepTheCallerThroughAChildThatHoldsTheOutput)
{
    const ShortIdleLimit limit;
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(run(played({"out=x", "holder=9000", "sleep=60000"})), "x");
    EXPECT_EQ(run(played({"out=y", "holder=9000"})), "y");
    EXPECT_LT(clock.elapsed(), 6000);
}

TEST(HungTool, IsNotOneThatComputesOrPrintsNowAndThen)
{
    const ShortIdleLimit limit;
    EXPECT_EQ(run(played({"spin=900", "out=done"})), "done");
    EXPECT_EQ(taskWithStr(fakeTool() + " play spin=700 out=done", {}), "done");
    EXPECT_EQ(run(played({"out=1", "sleep=200", "out=2", "sleep=200", "out=3"})), "123");
}

TEST(Interrupt, EndsBlockingRunsEvenOfAToolThatNeverStopsPrinting)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    const auto interrupted = [](const QStringList &tool) {
        setBlockingRunsInterrupted(true);
        QElapsedTimer clock;
        clock.start();
        run(tool);
        std::_Exit(clock.elapsed() < 20000 ? 0 : 1);
    };
    EXPECT_EXIT(interrupted({"/bin/sleep", "30"}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(interrupted({"/usr/bin/timeout", "25", "yes"}), testing::ExitedWithCode(0), "");
}
