// The program as a process: signals, streams, surroundings, several at once.

#include "cli/command_test.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>

using testing::AllOf;
using testing::HasSubstr;

namespace
{

constexpr int patience = 30000; // milliseconds

QStringList names(std::initializer_list<const char *> list)
{
    return QStringList(list.begin(), list.end());
}

// Whether some process has this among its arguments.
bool isSomebodyWorkingOn(const QByteArray &source)
{
    for (const QString &entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        if (contentsOf("/proc/" + entry.toUtf8() + "/cmdline").contains(source)) {
            return true;
        }
    }
    return false;
}

} // namespace

class ProgramTest : public CommandTest
{
protected:
    explicit ProgramTest(TestBundle::Ffmpeg ffmpeg = TestBundle::Ffmpeg::Fake) : CommandTest(ffmpeg)
    {
        const std::filesystem::path folder = m_bundle.path().toStdString() + "/Contents/MacOS";
        std::filesystem::create_directories(folder);
        std::error_code otherDisk;
        std::filesystem::create_hard_link(QV_CLI_PROGRAM, folder / "quorvantel-cli", otherDisk);
        if (otherDisk) {
            std::filesystem::copy_file(QV_CLI_PROGRAM, folder / "quorvantel-cli");
        }
    }

    QString program() const
    {
        return m_bundle.path() + QStringLiteral("/Contents/MacOS/quorvantel-cli");
    }

    std::unique_ptr<QProcess> start(const QString &executable, const QByteArrayList &arguments)
    {
        auto process = std::make_unique<QProcess>();
        QStringList texts;
        for (const QByteArray &argument : arguments) {
            texts.append(QFile::decodeName(argument));
        }
        process->setWorkingDirectory(m_folder.path());
        // Whoever runs the tests in the background has some of them ignored.
        process->setChildProcessModifier([] {
            for (const int signal : {SIGINT, SIGHUP, SIGTERM}) {
                std::signal(signal, SIG_DFL);
            }
        });
        process->start(executable, texts);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }

    // "sheet -n 3 -o out", then these.
    std::unique_ptr<QProcess> startSheets(const QByteArrayList &arguments)
    {
        return start(program(), QByteArrayList{"sheet", "-n", "3", "-o", path("out")} + arguments);
    }

    // The program's path stands as $0 in the script.
    std::unique_ptr<QProcess> startScript(const QByteArray &script)
    {
        return start(QStringLiteral("/bin/bash"), {"-c", script, program().toUtf8()});
    }

    void waitForTool(QProcess &process, const QByteArray &run)
    {
        QElapsedTimer clock;
        clock.start();
        while (!contentsOf(path("tool.log")).contains(run)) {
            ASSERT_FALSE(process.waitForFinished(10)) << process.readAllStandardError().constData();
            ASSERT_LT(clock.elapsed(), patience);
        }
    }

    void expectNobodyWorksOn(const QByteArray &source)
    {
        QElapsedTimer clock;
        clock.start();
        while (isSomebodyWorkingOn(source) && clock.elapsed() < patience) {
        }
        EXPECT_LT(clock.elapsed(), patience);
    }

    bool isSheet(const QString &name) const
    {
        return !QImage(QString::fromUtf8(path("out/")) + name).isNull();
    }
};

class RealProgramTest : public ProgramTest
{
protected:
    RealProgramTest() : ProgramTest(TestBundle::Ffmpeg::Real) {}
};

TEST_F(ProgramTest, ASignalStopsTheToolAndLeavesOnlyWhatIsWhole)
{
    struct Stop {
        int signal;
        const char *source;
        const char *run;
    };
    for (const Stop &stop : {Stop{SIGINT, "two.picture-hang-1.mp4", "picture 1 two"},
                             Stop{SIGTERM, "two.analysis-hang.mp4", "analysis -1 two"},
                             Stop{SIGHUP, "two.preview-hang.mp4", "preview -1 two"}}) {
        SCOPED_TRACE(stop.source);
        const QByteArray hanging = make(stop.source);
        auto process = startSheets({"--replace", make("one.mp4"), hanging, make("three.mp4")});
        waitForTool(*process, stop.run);
        ::kill(static_cast<pid_t>(process->processId()), stop.signal);
        ASSERT_TRUE(process->waitForFinished(patience));
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 128 + stop.signal);
        EXPECT_EQ(process->readAllStandardError(),
                  "stopped: 1 made, 0 kept, 0 skipped, 0 failed, 2 not done\n");
        EXPECT_EQ(process->readAllStandardOutput(), path("out/one.jpg\n"));
        EXPECT_EQ(namesIn("out"), names({"one.jpg"}));
        EXPECT_EQ(scratchFolders(), QStringList());
        expectNobodyWorksOn(hanging);
        QFile::remove(QString::fromUtf8(path("tool.log")));
    }
}

TEST_F(ProgramTest, AReaderThatWentAwayStopsItCleanly)
{
    make("a.mp4");
    make("b.mp4");
    auto process = startScript("exec 3> >(:); wait $!; \"$0\" sheet -n 3 -o out a.mp4 b.mp4 >&3");
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(process->exitCode(), 128 + SIGPIPE);
    EXPECT_THAT(process->readAllStandardError().toStdString(), HasSubstr("stopped: 1 made"));
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(ProgramTest, ASignalThatWasIgnoredStaysIgnored)
{
    make("a.picture-hang-1.mp4");
    auto process = startScript("trap '' HUP; exec \"$0\" sheet -n 3 -o out --hang-timeout 1 "
                               "a.picture-hang-1.mp4");
    waitForTool(*process, "picture 1");
    ::kill(static_cast<pid_t>(process->processId()), SIGHUP);
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process->exitCode(), 0);
    EXPECT_EQ(namesIn("out"), names({"a.picture-hang-1.jpg"}));
}

TEST_F(ProgramTest, AKilledOneLeavesTheOldSheetAndIsClearedUpAfter)
{
    const QByteArray source = make("a.picture-slow.mp4");
    make("out/a.picture-slow.jpg", "the old one");
    auto process = startSheets({"--replace", source});
    waitForTool(*process, "picture 1");
    process->kill();
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(contentsOf(path("out/a.picture-slow.jpg")), "the old one");
    EXPECT_EQ(namesIn("out").size(), 1);
    expectNobodyWorksOn(source);
    const QStringList left = scratchFolders();
    ASSERT_EQ(left.size(), 1);
    // A young one may belong to a process that has just begun.
    run({"info", make("b.mp4")});
    EXPECT_EQ(scratchFolders(), left);
    const timespec longAgo[2] = {{1, 0}, {1, 0}};
    const QString folder = QDir::tempPath() + QLatin1Char('/') + left.first();
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(folder).constData(), longAgo, 0), 0);
    run({"info", path("b.mp4")});
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(ProgramTest, ManyAtOnceInOneDestinationDoNotDisturbEachOther)
{
    QByteArrayList sources;
    for (const char *name : {"a.mp4", "b.mp4", "c.picture-slow-1.mp4", "d.mp4"}) {
        sources.append(make(name));
    }
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 6; ++i) {
        processes.push_back(
            startSheets((i % 2 == 0 ? QByteArrayList{"--replace"} : QByteArrayList{}) + sources));
    }
    for (const auto &process : processes) {
        ASSERT_TRUE(process->waitForFinished(patience));
        EXPECT_EQ(process->exitCode(), 0) << process->readAllStandardError().constData();
        EXPECT_EQ(process->readAllStandardOutput().count('\n'), 4);
    }
    const QStringList sheets = namesIn("out");
    EXPECT_EQ(sheets, names({"a.jpg", "b.jpg", "c.picture-slow-1.jpg", "d.jpg"}));
    for (const QString &sheet : sheets) {
        EXPECT_TRUE(isSheet(sheet)) << sheet.toStdString();
    }
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(RealProgramTest, AShellLoopKeepsItsListAndNoDisplayOrSessionIsNeeded)
{
    for (const char *name : {"a.mp4", "b.mp4"}) {
        make(name, "");
    }
    QProcess ffmpeg;
    ffmpeg.setWorkingDirectory(m_folder.path());
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 QStringLiteral("-v error -y -f lavfi -i testsrc=s=64x64:r=5:d=1 a.mp4")
                     .split(QLatin1Char(' ')));
    ASSERT_TRUE(ffmpeg.waitForFinished(patience));
    QFile::remove(QString::fromUtf8(path("b.mp4")));
    QFile::copy(QString::fromUtf8(path("a.mp4")), QString::fromUtf8(path("b.mp4")));
    auto process = startScript("printf 'a.mp4\\nb.mp4\\n' | while read -r name; do "
                               "env -i HOME=\"$HOME\" TMPDIR=\"$TMPDIR\" QT_QPA_PLATFORM=xcb "
                               "\"$0\" sheet -n 3 -o out \"$name\"; done");
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(process->readAllStandardOutput(), path("out/a.jpg\n") + path("out/b.jpg\n"));
    EXPECT_EQ(process->readAllStandardError(), "");
    EXPECT_TRUE(isSheet(QStringLiteral("a.jpg")) && isSheet(QStringLiteral("b.jpg")));
}

TEST_F(ProgramTest, StreamsThatCameClosedDoNotEndUpInItsFiles)
{
    make("a.mp4");
    auto process = startScript("\"$0\" sheet -n 3 --log log -o out a.mp4 none.mp4 <&- >&- 2>&-");
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(process->exitCode(), 1);
    EXPECT_TRUE(isSheet(QStringLiteral("a.jpg")));
    const QByteArray log = contentsOf(path("log"));
    EXPECT_FALSE(log.isEmpty() || log.contains("skipped: none.mp4"));
    EXPECT_FALSE(contentsOf(path("out/a.jpg")).contains("out/a.jpg"));
}
