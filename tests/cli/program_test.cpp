// The program as a process: signals, streams, surroundings, several at once.

#include "cli/program_test.h"

#include <fcntl.h>
#include <sys/stat.h>

using testing::HasSubstr;

TEST_F(ProgramTest, ASignalStopsTheToolAndLeavesOnlyWhatIsWhole)
{
    struct Stop {
        int signal;
        const char *source;
        const char *run;
    };
    make("one.mp4");
    make("three.mp4");
    for (const Stop &stop : {Stop{SIGINT, "two.picture-hang-1.mp4", "picture 1 two"},
                             Stop{SIGTERM, "two.analysis-hang.mp4", "analysis -1 two"},
                             Stop{SIGHUP, "two.preview-hang.mp4", "preview -1 two"}}) {
        SCOPED_TRACE(stop.source);
        const QByteArray hanging = make(stop.source);
        auto process =
            start(QByteArray("exec \"$0\" sheet --jobs 1 -n 3 -o out --replace one.mp4 ") +
                  stop.source + " three.mp4");
        waitForTool(*process, stop.run);
        ::kill(static_cast<pid_t>(process->processId()), stop.signal);
        EXPECT_EQ(statusOf(*process), 128 + stop.signal);
        EXPECT_EQ(process->readAllStandardError(),
                  "stopped: 1 made, 0 kept, 0 skipped, 0 failed, 2 not done\n");
        EXPECT_EQ(process->readAllStandardOutput(), path("out/one.jpg\n"));
        EXPECT_EQ(namesIn("out"), words("one.jpg"));
        EXPECT_EQ(scratchFolders(), QStringList());
        expectNobodyWorksOn(hanging);
        QFile::remove(path("tool.log"));
    }
}

TEST_F(ProgramTest, ASignalWhileSheetsAreNamedLeavesNothing)
{
    make("card/BDMV/PLAYLIST/0.MPL");
    make("card/BDMV/STREAM/1.MTS");
    const QString tool = m_bundle.tool("gettimestamps");
    writeFile(tool, "#!/bin/sh\necho naming >\"$FAKE_TOOL_LOG\"\nexec sleep 60\n");
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    auto process = start("exec \"$0\" sheet -n 3 -o out card");
    waitForTool(*process, "naming");
    ::kill(static_cast<pid_t>(process->processId()), SIGINT);
    EXPECT_EQ(statusOf(*process), 128 + SIGINT);
    EXPECT_EQ(process->readAllStandardError(), "stopped\n");
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(ProgramTest, AReaderThatWentAwayStopsItCleanly)
{
    make("a.mp4");
    make("b.mp4");
    auto process =
        start("exec 3> >(:); wait $!; \"$0\" sheet --jobs 1 -n 3 -o out a.mp4 b.mp4 >&3");
    EXPECT_EQ(statusOf(*process), 128 + SIGPIPE);
    EXPECT_THAT(process->readAllStandardError().toStdString(), HasSubstr("stopped: 1 made"));
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(ProgramTest, ResultsThatCannotBeWrittenAreNotLostSilently)
{
    make("a.mp4");
    auto process = start("\"$0\" sheet --json -n 3 -o out a.mp4 >/dev/full");
    EXPECT_EQ(statusOf(*process), 3);
    EXPECT_THAT(process->readAllStandardError().toStdString(), HasSubstr("No space left"));
}

TEST_F(ProgramTest, ASignalThatWasIgnoredStaysIgnored)
{
    make("a.picture-hang-1.mp4");
    auto process = start("trap '' HUP; exec \"$0\" sheet -n 3 -o out --hang-timeout 1 "
                         "a.picture-hang-1.mp4");
    waitForTool(*process, "picture 1");
    ::kill(static_cast<pid_t>(process->processId()), SIGHUP);
    EXPECT_EQ(statusOf(*process), 0);
    EXPECT_EQ(namesIn("out"), words("a.picture-hang-1.jpg"));
}

TEST_F(ProgramTest, AKilledOneLeavesTheOldSheetAndIsClearedUpAfter)
{
    const QByteArray source = make("a.picture-slow.mp4");
    make("out/a.picture-slow.jpg", "the old one");
    auto process = start("exec \"$0\" sheet -n 3 -o out --replace a.picture-slow.mp4");
    waitForTool(*process, "picture 1");
    process->kill();
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(contentOf(path("out/a.picture-slow.jpg")), "the old one");
    EXPECT_EQ(namesIn("out").size(), 1);
    expectNobodyWorksOn(source);
    EXPECT_EQ(scratchFolders().size(), 1);
    // Killed while it removed its folder, or before it locked it.
    ASSERT_TRUE(QDir::temp().mkdir("Quorvantel-cli-half"));
    ASSERT_TRUE(QDir::temp().mkdir(".Quorvantel-cli-young"));
    run({"info", make("b.mp4")});
    EXPECT_EQ(scratchFolders(), QStringList{".Quorvantel-cli-young"});
    const timespec longAgo[2] = {{1, 0}, {1, 0}};
    const QByteArray young = QFile::encodeName(QDir::temp().filePath(".Quorvantel-cli-young"));
    ASSERT_EQ(::utimensat(AT_FDCWD, young.constData(), longAgo, 0), 0);
    run({"info", path("b.mp4")});
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(ProgramTest, ManyAtOnceInOneDestinationDoNotDisturbEachOther)
{
    make("a.mp4");
    make("b.picture-slow-1.mp4");
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 6; ++i) {
        processes.push_back(start(QByteArray("exec \"$0\" sheet -n 3 -o out *.mp4 ") +
                                  (i % 2 == 0 ? "--replace" : "--keep")));
    }
    for (const auto &process : processes) {
        EXPECT_EQ(statusOf(*process), 0) << process->readAllStandardError().constData();
        EXPECT_EQ(process->readAllStandardOutput().count('\n'), 2);
    }
    EXPECT_EQ(namesIn("out"), words("a.jpg b.picture-slow-1.jpg"));
    EXPECT_FALSE(pictureAt("out/a.jpg").isNull() || pictureAt("out/b.picture-slow-1.jpg").isNull());
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(RealProgramTest, AShellLoopKeepsItsListAndNoDisplayOrSessionIsNeeded)
{
    soundClip("a.mp4");
    soundClip("b.mp4");
    auto process = start("printf 'a.mp4\\nb.mp4\\n' | while read -r name; do "
                         "env -i HOME=\"$HOME\" TMPDIR=\"$TMPDIR\" QT_QPA_PLATFORM=xcb "
                         "\"$0\" sheet -n 3 -o out \"$name\"; done");
    ASSERT_TRUE(process->waitForFinished(patience));
    EXPECT_EQ(process->readAllStandardOutput(), path("out/a.jpg\n") + path("out/b.jpg\n"));
    EXPECT_EQ(process->readAllStandardError(), "");
}

TEST_F(ProgramTest, StreamsThatCameClosedDoNotEndUpInItsFiles)
{
    make("a.mp4");
    auto process = start("\"$0\" sheet -n 3 --log log -o out a.mp4 none.mp4 <&- >&- 2>&-");
    EXPECT_EQ(statusOf(*process), 1);
    EXPECT_FALSE(pictureAt("out/a.jpg").isNull());
    const QByteArray log = contentOf(path("log"));
    EXPECT_FALSE(log.isEmpty() || log.contains("skipped: none.mp4"));
    EXPECT_FALSE(contentOf(path("out/a.jpg")).contains("out/a.jpg"));
}
