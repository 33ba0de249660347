// Many sources: copies of the program side by side, lists, shards, and runs that are killed.

#include "cli/program_test.h"

#include "cli/worker_protocol.h"

#include <QRegularExpression>

using testing::AllOf;
using testing::HasSubstr;

namespace
{

QByteArray withoutSeconds(const QByteArray &lines)
{
    static const QRegularExpression seconds("\"seconds\":[^,}]*");
    return QString::fromUtf8(lines).remove(seconds).toUtf8();
}

// A sheet tells when it was made.
QByteArray withoutDate(QByteArray sheet)
{
    const QByteArray key = "xmp:CreateDate=\"";
    const qsizetype date = sheet.indexOf(key);
    return date < 0 ? sheet : sheet.remove(date, key.size() + 24);
}

} // namespace

TEST_F(ProgramTest, SeveralJobsTellAndMakeWhatOneDoes)
{
    for (const char *name :
         {"in/1.picture-slow.mp4", "in/2.mp4", "in/3.all-refuse.mp4", "in/4.picture-missing-1.mp4",
          "in/5.picture-crash.mp4", "in/bad\xff\xfe.mp4", "in/bad\xff.mp4", "in/new\nline %1.mp4",
          "other/2.mp4", "in/kept.mp4", "out/folder.jpg/mine", "in/folder.mp4"}) {
        make(name);
    }
    ASSERT_EQ(sheets({path("in/kept.mp4")}).status, 0);
    make("in/empty.mp4", "");
    QByteArray told[2];
    QMap<QString, QByteArray> sheets[2];
    for (const int several : {0, 1}) {
        const QByteArray jobs = several == 0 ? "1" : "4";
        auto process = start("exec \"$0\" sheet -n 3 -o out --json --background red --jobs " +
                             jobs + " in none.mp4 in/2.mp4 other in/empty.mp4 2>&1");
        EXPECT_EQ(statusOf(*process), 1);
        told[several] = withoutSeconds(process->readAllStandardOutput());
        for (const QString &name : namesIn("out")) {
            sheets[several][name] = withoutDate(contentOf(path("out/" + name.toUtf8())));
            if (name != QLatin1String("kept.jpg")) {
                QFile::remove(QString::fromUtf8(path("out/" + name.toUtf8())));
            }
        }
    }
    EXPECT_EQ(told[0], told[1]);
    EXPECT_THAT(told[1].toStdString(), HasSubstr("8 made, 2 kept, 4 skipped, 1 failed"));
    EXPECT_EQ(sheets[0], sheets[1]);
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(ProgramTest, ACopyThatDiesCostsOnlyItsSource)
{
    const QByteArray hanging = make("1.picture-hang-1.mp4");
    for (const char *name : {"2.mp4", "3.mp4", "4.mp4"}) {
        make(name);
    }
    auto process = start("exec \"$0\" sheet --jobs 2 -n 3 -o out *.mp4");
    waitForTool(*process, "picture 1 1");
    const pid_t worker = workerOn(hanging);
    ASSERT_GT(worker, 0);
    ::kill(worker, SIGKILL);
    EXPECT_EQ(statusOf(*process), 1);
    EXPECT_THAT(process->readAllStandardError().toStdString(),
                AllOf(HasSubstr("failed: 1.picture-hang-1.mp4: the process that was making its "
                                "sheet ended unexpectedly: it died by signal 9"),
                      HasSubstr("3 made, 0 kept, 0 skipped, 1 failed")));
    EXPECT_EQ(namesIn("out"), words("2.jpg 3.jpg 4.jpg"));
    expectNobodyWorksOn(hanging);
}

TEST_F(ProgramTest, ASignalToTheFirstProcessStopsTheCopiesToo)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        const QByteArray hanging = make("2.picture-hang-1.mp4");
        make("1.mp4");
        make("3.analysis-hang.mp4");
        auto process = start("exec \"$0\" sheet --jobs 3 -n 3 -o out --replace *.mp4");
        waitForTool(*process, "picture 1 2");
        waitForTool(*process, "analysis -1 3");
        waitForTool(*process, "picture 2 1");
        ::kill(static_cast<pid_t>(process->processId()), signal);
        EXPECT_EQ(statusOf(*process), 128 + signal);
        const QByteArray told = process->readAllStandardOutput();
        EXPECT_EQ(told, namesIn("out").isEmpty() ? QByteArray() : path("out/1.jpg\n"));
        EXPECT_THAT(process->readAllStandardError().toStdString(), HasSubstr(" not done\n"));
        EXPECT_EQ(scratchFolders(), QStringList());
        expectNobodyWorksOn(hanging);
        // The next signal must not meet the sheet that came before this one.
        QDir(path("out")).removeRecursively();
        QFile::remove(path("tool.log"));
    }
}

TEST_F(ProgramTest, ARunThatIsKilledLeavesNobodyBehindAndIsTakenUpWhereItWas)
{
    QByteArrayList sources;
    for (const char *name : {"1", "2", "3.picture-slow", "4.picture-slow", "5", "6"}) {
        sources.append(make(QByteArray(name) + ".mp4"));
    }
    const QByteArray command = "exec \"$0\" sheet --jobs 3 --keep -n 3 -o out *.mp4";
    // A killed process may leave the empty folder with which it tried the destination.
    const auto sheets = [&] { return namesIn("out").filter(QRegularExpression("\\.jpg$")); };
    QStringList before;
    for (const char *moment : {"analysis -1 1", "picture 0 3", "picture 2 4"}) {
        auto process = start(command);
        waitForTool(*process, moment);
        process->kill();
        ASSERT_TRUE(process->waitForFinished(patience));
        for (const QByteArray &source : sources) {
            expectNobodyWorksOn(source);
        }
        for (const QString &name : before) {
            EXPECT_FALSE(contentOf(path("tool.log")).contains(name.toUtf8().chopped(4) + ".mp4"));
        }
        before = sheets();
        for (const QString &name : before) {
            EXPECT_FALSE(pictureAt("out/" + name.toUtf8()).isNull()) << name.toStdString();
        }
        QFile::remove(path("tool.log"));
    }
    auto last = start(command);
    EXPECT_EQ(statusOf(*last), 0);
    EXPECT_EQ(sheets().size(), sources.size());
    auto again = start(command);
    EXPECT_EQ(statusOf(*again), 0);
    EXPECT_EQ(again->readAllStandardOutput().count('\n'), sources.size());
    EXPECT_EQ(contentOf(path("tool.log")).count("analysis"), sources.size() - before.size());
}

TEST_F(CommandTest, WhenNoCopyCanBeStartedThisProcessDoesTheWork)
{
    const QByteArrayList sources{make("a.mp4"), make("b.mp4"), path("none.mp4"), make("c.mp4")};
    for (const QString program : {"/nowhere/quorvantel-cli", "/bin/false"}) {
        m_workerProgram = program;
        const Ran ran = sheets(QByteArrayList{"--jobs", "2", "--replace"} + sources);
        EXPECT_EQ(ran.status, 1);
        EXPECT_EQ(ran.told("status"), words("made made skipped made"));
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("one after the other"));
    }
}

TEST_F(CommandTest, WhenCopiesKeepDyingItGivesUp)
{
    m_workerProgram = QString::fromUtf8(
        make("deadly", "#!/bin/bash\necho '{\"ready\":true}'\nread -r line\nkill -SEGV $$\n"));
    QFile::setPermissions(m_workerProgram, QFile::ReadOwner | QFile::ExeOwner);
    QByteArrayList sources;
    for (int i = 0; i < 40; ++i) {
        sources.append(make(QByteArray::number(i) + ".mp4"));
    }
    const Ran ran = sheets(QByteArrayList{"--jobs", "2"} + sources);
    EXPECT_EQ(ran.status, 3);
    EXPECT_THAT(ran.err.toStdString(), AllOf(HasSubstr("No further one is started"),
                                             HasSubstr("stopped: 0 made"), HasSubstr(" not done")));
    EXPECT_EQ(contentOf(path("tool.log")), "");
}

TEST_F(CommandTest, AListGivesItsNamesAsBytesAfterThoseOfTheCommandLine)
{
    const QByteArray longName(5000, 'x');
    const std::pair<QByteArray, QByteArrayList> lists[] = {
        {"b.mp4\nc.mp4", {"b.mp4", "c.mp4"}},
        {"\n\nb.mp4\r\n\r\nc\xff.mp4\n", {"b.mp4", "c\xff.mp4"}},
        {QByteArray("b\nb.mp4\0c\r\0\0\xfe.mp4", 17), {"b\nb.mp4", "c\r", "\xfe.mp4"}},
        {longName + "\n-.mp4\n", {longName.left(4096), "-.mp4"}},
    };
    QDir::setCurrent(m_folder.path());
    for (const auto &[bytes, names] : lists) {
        QStringList expected{"a.mp4"};
        for (const QByteArray &name : names) {
            expected.append(QString::fromUtf8(name));
        }
        m_input = bytes;
        EXPECT_EQ(sheets({"a.mp4", "--from", "-"}).told("source"), expected);
        make("list", bytes);
        EXPECT_EQ(sheets({"--from", "list", "a.mp4"}).told("source"), expected);
    }
    make("list", "c.mp4\n");
    make("another", "b.mp4\n");
    EXPECT_EQ(sheets({"--from", "list", "--from", "another", "a.mp4"}).told("source"),
              words("a.mp4 c.mp4 b.mp4"));
}

TEST_F(CommandTest, ShardsDivideTheListAndKeepTheNamesOfTheWhole)
{
    QByteArrayList named;
    for (const char *name : {"a/x.mp4", "b/x.mp4", "c/x.mp4", "c/y.mp4", "a/x.mp4", "d/x.mp4"}) {
        named.append(make(name));
    }
    QMultiMap<QString, QString> sheetOf[2];
    const QByteArrayList shards[2] = {{"1/1"}, {"3/3", "1/3", "2/3"}};
    for (const int divided : {0, 1}) {
        for (const QByteArray &shard : shards[divided]) {
            const QByteArray out = path(divided == 0 ? "whole" : "parts");
            const Ran ran =
                run(QByteArrayList{"sheet", "--json", "-o", out, "--shard", shard} + named);
            EXPECT_EQ(ran.status, 0);
            for (const QJsonObject &object : ran.objects()) {
                const QString sheet = object["sheet"].toString().mid(out.size());
                sheetOf[divided].insert(object["source"].toString(), sheet);
            }
        }
    }
    EXPECT_EQ(sheetOf[0].size(), 6);
    EXPECT_EQ(sheetOf[0], sheetOf[1]);
    const Ran none = sheets({"--shard", "6/7", path("a"), path("b")});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.err, "shard 6/7 has no source: there are 2 in all\n");
}

TEST(WorkerProtocol, LinesOfAnotherLanguageSayNothing)
{
    for (const char *line :
         {"", "[]", "{", "{\"source\":\"\",\"base\":\"/o/x\"}", "{\"source\":\"L2E=\"}",
          "{\"source\":\"L2EAYg==\",\"base\":\"/x\"}", "{\"status\":7,\"sheet\":[]}"}) {
        EXPECT_FALSE(qv::requestIn(line)) << line;
        EXPECT_FALSE(qv::outcomeIn(line)) << line;
        EXPECT_FALSE(qv::isReady(line)) << line;
    }
}
