#include "support/diagnostics.h"
#include "support/files_fixture.h"

#include <QRegularExpression>

#include <cstdio>

#include <unistd.h>

using namespace qv;

namespace
{

class DiagnosticsTest : public FilesTest
{
protected:
    DiagnosticsTest() { setLogFolder(at("logs")); }
    ~DiagnosticsTest() override { setLogFolder(QString()); }
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

TEST_F(DiagnosticsTest, SummaryLogBeginsWithMarkAndDateOnce)
{
    EXPECT_FALSE(resumeLogAppend("no folder yet"));
    mkdir(logFolder());
    EXPECT_TRUE(resumeLogAppend(QString()));
    EXPECT_TRUE(resumeLogAppend("\nsource"));
    const QRegularExpression form(
        "^start date    : \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}\nsource$");
    const QByteArray content = contentOf(resumeLogPath());
    EXPECT_TRUE(content.startsWith("\xef\xbb\xbf"));
    EXPECT_TRUE(form.match(QString::fromUtf8(content.mid(3))).hasMatch()) << content.constData();
}

TEST_F(DiagnosticsTest, StartKeepsOnePreviousCopyAndSendsTheOutputToTheLog)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    write(detailsLogPath(), "details of before");
    write(resumeLogPath(), "summary of before");
    make("logs/Previous-Details.log", "older");
    EXPECT_EXIT(startTwiceAndPrint(), testing::ExitedWithCode(0), "Details.log");
    EXPECT_EQ(contentOf(at("logs/Previous-Details.log")), "details of before");
    EXPECT_EQ(contentOf(at("logs/Previous-Resume.log")), "summary of before");
    EXPECT_TRUE(contentOf(resumeLogPath()).startsWith("\xef\xbb\xbfstart date    : "));
    const QByteArray details = contentOf(detailsLogPath());
    EXPECT_TRUE(details.contains("on standard output\n"));
    EXPECT_TRUE(details.contains("a trace line\n"));
    EXPECT_TRUE(details.contains("if (newStdout || newStderr)\n"));
    EXPECT_FALSE(fileExists("elsewhere"));
}
