#pragma once

#include "cli/command_test.h"

#include <QElapsedTimer>
#include <QProcess>

#include <csignal>
#include <filesystem>
#include <memory>

// The built program, run as a process in a bundle and a folder of the test's own.
class ProgramTest : public CommandTest
{
protected:
    static constexpr int patience = 30000; // milliseconds

    explicit ProgramTest(TestBundle::Ffmpeg ffmpeg = TestBundle::Ffmpeg::Fake) : CommandTest(ffmpeg)
    {
        const std::filesystem::path folder = m_bundle.path().toStdString() + "/Contents/MacOS";
        std::filesystem::create_directories(folder);
        std::filesystem::copy_file(QV_CLI_PROGRAM, folder / "quorvantel-cli");
    }

    // Those of killed processes stay for a while.
    ~ProgramTest() override
    {
        for (const QString &folder : scratchFolders()) {
            QDir(QDir::tempPath() + '/' + folder).removeRecursively();
        }
    }

    // A bash script with the program's path as $0.
    std::unique_ptr<QProcess> start(const QByteArray &script)
    {
        auto process = std::make_unique<QProcess>();
        process->setWorkingDirectory(m_folder.path());
        // Whoever runs the tests in the background has some of them ignored.
        process->setChildProcessModifier([] {
            for (const int signal : {SIGINT, SIGHUP, SIGTERM}) {
                std::signal(signal, SIG_DFL);
            }
        });
        process->start("/bin/bash", {"-c", QFile::decodeName(script),
                                     m_bundle.path() + "/Contents/MacOS/quorvantel-cli"});
        return process;
    }

    void waitForTool(QProcess &process, const QByteArray &run)
    {
        QElapsedTimer clock;
        clock.start();
        while (!contentOf(path("tool.log")).contains(run)) {
            ASSERT_FALSE(process.waitForFinished(10)) << process.readAllStandardError().constData();
            ASSERT_LT(clock.elapsed(), patience);
        }
    }

    // The copy of the program whose tool works on the source; 0 when there is none.
    static pid_t workerOn(const QByteArray &source)
    {
        for (const QString &entry : QDir("/proc").entryList(QDir::Dirs)) {
            const QByteArray folder = "/proc/" + entry.toUtf8();
            const QByteArray parent =
                contentOf(folder + "/status").split('\n').value(6).mid(6).trimmed();
            if (contentOf(folder + "/cmdline").contains(source) &&
                contentOf("/proc/" + parent + "/cmdline").contains(QByteArray("\0worker\0", 8))) {
                return parent.toInt();
            }
        }
        return 0;
    }

    int statusOf(QProcess &process)
    {
        EXPECT_TRUE(process.waitForFinished(patience));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return process.exitCode();
    }

    void expectNobodyWorksOn(const QByteArray &source)
    {
        for (const QString &entry : QDir("/proc").entryList(QDir::Dirs)) {
            const QByteArray folder = "/proc/" + entry.toUtf8();
            QElapsedTimer clock;
            clock.start();
            while (contentOf(folder + "/cmdline").contains(source)) {
                ASSERT_LT(clock.elapsed(), patience) << folder.constData();
            }
        }
    }
};

class RealProgramTest : public ProgramTest
{
protected:
    RealProgramTest() : ProgramTest(TestBundle::Ffmpeg::Real) {}
};
