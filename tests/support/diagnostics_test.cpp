#include "support/diagnostics.h"
#include "support/files_fixture.h"
#include "support/localized_strings.h"

#include <QRegularExpression>

#include <cstdio>

#include <unistd.h>

using namespace qv;

namespace
{

class DiagnosticsTest : public FilesTest
{
protected:
    DiagnosticsTest() { setLogFolder(at(QStringLiteral("logs"))); }
    ~DiagnosticsTest() override
    {
        setLogFolder(QString());
        setDebug(false);
    }
};

// Everything that a process does to its own output is tried in one that ends afterwards.
[[noreturn]] void startTwiceAndPrint()
{
    setLogSink({});
    startLogs();
    std::puts("on standard output");
    std::fflush(stdout);
    logLine(QStringLiteral("a trace line"));
    redirectStdoutToFile(QStringLiteral("elsewhere"));
    ::_exit(0);
}

} // namespace

TEST_F(DiagnosticsTest, UsersLogsStandInTheLibraryFolder)
{
    setLogFolder(QString());
    EXPECT_EQ(detailsLogPath(),
              QDir::homePath() + QStringLiteral("/Library/Logs/Quorvantel/Details.log"));
    EXPECT_EQ(resumeLogPath(),
              QDir::homePath() + QStringLiteral("/Library/Logs/Quorvantel/Resume.log"));
}

TEST_F(DiagnosticsTest, SummaryLogBeginsWithMarkAndDateOnce)
{
    EXPECT_FALSE(resumeLogAppend(QStringLiteral("no folder yet")));
    mkdir(logFolder());
    EXPECT_TRUE(resumeLogAppend(QString()));
    EXPECT_TRUE(resumeLogAppend(QStringLiteral("\nsource")));
    const QRegularExpression form(QStringLiteral(
        "^start date    : \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}\nsource$"));
    const QByteArray content = contentOf(resumeLogPath());
    EXPECT_TRUE(content.startsWith("\xef\xbb\xbf"));
    EXPECT_TRUE(form.match(QString::fromUtf8(content.mid(3))).hasMatch()) << content.constData();
}

TEST_F(DiagnosticsTest, StartKeepsOnePreviousCopyAndSendsTheOutputToTheLog)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    write(detailsLogPath(), "details of before");
    write(resumeLogPath(), "summary of before");
    write(appendPath(logFolder(), QStringLiteral("Previous-Details.log")), "older");
    EXPECT_EXIT(startTwiceAndPrint(), testing::ExitedWithCode(0), "Details.log");
    EXPECT_EQ(contentOf(appendPath(logFolder(), QStringLiteral("Previous-Details.log"))),
              "details of before");
    EXPECT_EQ(contentOf(appendPath(logFolder(), QStringLiteral("Previous-Resume.log"))),
              "summary of before");
    EXPECT_TRUE(contentOf(resumeLogPath()).startsWith("\xef\xbb\xbfstart date    : "));
    const QByteArray details = contentOf(detailsLogPath());
    EXPECT_TRUE(details.contains("on standard output\n"));
    EXPECT_TRUE(details.contains("a trace line\n"));
    EXPECT_TRUE(details.contains("if (newStdout || newStderr)\n"));
    EXPECT_FALSE(fileExists(QStringLiteral("elsewhere")));
}

TEST_F(DiagnosticsTest, DebugMenuItemSwitchesTracesAndShowsTheNextAction)
{
    const DebugMenuItem on = iba_menuDebugToggle({QStringLiteral("title"), 0});
    EXPECT_EQ(on.state, 1);
    EXPECT_EQ(on.title, localized(QStringLiteral("menuDebug0")));
    EXPECT_TRUE(isDebug());
    EXPECT_TRUE(m_log.contains(QStringLiteral("a_menuDebugToggle   : title")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("menuDebug           : 1")));
    const DebugMenuItem off = iba_menuDebugToggle(on);
    EXPECT_EQ(off.state, 0);
    EXPECT_EQ(off.title, localized(QStringLiteral("menuDebug1")));
    EXPECT_FALSE(isDebug());
}
