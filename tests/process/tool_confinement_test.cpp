#include "process/tool_confinement.h"

#include "common/folder_test.h"
#include "common/log_capture.h"
#include "common/wait_until.h"
#include "process/played.h"
#include "process/task_launcher.h"
#include "process/tool_environment.h"
#include "process/tool_request.h"
#include "process/tool_run.h"
#include "support/sanitized.h"

#include <QImage>
#include <QTemporaryDir>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace qv;

namespace
{

// A listening socket of this machine.
class Listener
{
public:
    Listener()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *plain = reinterpret_cast<sockaddr *>(&address);
        EXPECT_EQ(::bind(m_socket.get(), plain, size), 0);
        EXPECT_EQ(::listen(m_socket.get(), 8), 0);
        EXPECT_EQ(::getsockname(m_socket.get(), plain, &size), 0);
        m_port = ntohs(address.sin_port);
    }
    int port() const { return m_port; }

private:
    FileDescriptor m_socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    int m_port = 0;
};

class ToolConfinementTest : public FolderTest
{
protected:
    explicit ToolConfinementTest(TestBundle::Ffmpeg ffmpeg = TestBundle::Ffmpeg::Fake)
        : m_bundle(ffmpeg)
    {
        setTemporaryFolder(path("scratch"));
        for (const QString &folder : {toolFolder(), path("stills"), path("home/.ssh")}) {
            QDir().mkpath(folder);
        }
        writeFile(path("home/letter"), "dear");
        writeFile(path("home/.ssh/id"), "key");
        writeFile(path("home/film.mp4"), "film");
    }
    ~ToolConfinementTest() override
    {
        setTemporaryFolder({});
        setConfinementOn(true);
    }

    // What a tool of the bundle prints when it plays the step; "@" stands for the folder, "%" for
    // this process. The source is an argument of the run.
    QString said(QString step) const
    {
        step.replace('@', m_folder.path()).replace('%', QString::number(::getpid()));
        return taskArray1PipeMax({m_bundle.tool("ffmpeg"), "play", step, path("home/film.mp4")},
                                 ErrorText::Merged);
    }
    static bool isOffered() { return confinementText().startsWith("landlock"); }
    static bool hasNoNetwork() { return confinementText().contains("no network"); }

    TestBundle m_bundle;
};

TEST_F(ToolConfinementTest, AToolReachesNothingButItsSourceAndItsFolder)
{
    if (!isOffered() || !hasNoNetwork()) {
        GTEST_SKIP() << "confinement is " << confinementText().toStdString();
    }
    const QString denied = "Permission denied";
    const QString forbidden = "Operation not permitted";
    const struct {
        const char *step;
        QString result;
    } steps[] = {
        {"write=@/scratch/tools/new", "done"},
        {"append=@/scratch/tools/new", "done"},
        {"make-folder=@/scratch/tools/sub", "done"},
        {"write=@/scratch/tools/sub/new", "done"},
        {"rename=@/scratch/tools/new:@/scratch/tools/sub/other", "done"},
        {"read=@/scratch/tools/sub/other", "done"},
        {"remove=@/scratch/tools/sub/other", "done"},
        {"write=/dev/null", "done"},
        {"read=@/home/film.mp4", "done"},
        {"read=/usr/bin/env", "done"},
        {"read=@/home/.ssh/id", denied},
        {"read=@/home/letter", denied},
        {"read=/etc/passwd", denied},
        // The sanitizers look into /proc.
        {"read=/proc/%/environ", isSanitized ? QStringLiteral("done") : denied},
        {"write=@/scratch/new", denied},
        {"write=@/home/new", denied},
        {"write=@/home/letter", denied},
        {"append=@/home/film.mp4", denied},
        {"empty=@/home/letter", "Function not implemented"},
        {"empty=@/home/film.mp4", "Function not implemented"},
        {"write=@/stills/new", denied},
        {"make-folder=@/home/sub", denied},
        {"remove=@/home/letter", denied},
        {"rename=@/scratch/tools/sub/new:@/home/letter", denied},
        {"rename=@/home/letter:@/scratch/tools/letter", denied},
        {"chmod=@/home/letter", denied},
        {"truncate=@/home/letter", denied},
        {"write=/proc/self/oom_score_adj", denied},
        {"fork=1", forbidden},
        {"leave-group=1", forbidden},
        {"stay=1", forbidden},
        {"signal=%", forbidden},
        {"limit=%", forbidden},
    };
    for (const auto &[step, result] : steps) {
        EXPECT_EQ(said(step), result) << step;
    }
    EXPECT_EQ(contentOf(path("home/letter")), "dear");
    EXPECT_EQ(contentOf(path("home/film.mp4")), "film");
}

TEST_F(ToolConfinementTest, AToolReachesNoServerUnlessConfinementIsOff)
{
    const Listener listener;
    const QString step = QStringLiteral("connect=%1").arg(listener.port());
    setConfinementOn(false);
    EXPECT_EQ(said(step), "done");
    EXPECT_EQ(said("write=@/home/new"), "done");
    setConfinementOn(true);
    if (!hasNoNetwork()) {
        GTEST_SKIP() << "confinement is " << confinementText().toStdString();
    }
    EXPECT_EQ(said(step), "Permission denied");
}

TEST_F(ToolConfinementTest, OnlyToolsThatOpenMediaAreConfined)
{
    const auto isConfined = [](const QStringList &command) {
        const auto bounds = toolRequest(command).bounds;
        return bounds && bounds->access;
    };
    EXPECT_TRUE(isConfined({m_bundle.tool("ffmpeg"), "-version"}));
    EXPECT_TRUE(isConfined({m_bundle.tool("qtThumbs"), "-probe", "film"}));
    EXPECT_FALSE(isConfined({m_bundle.tool("qtThumbs"), "-decoders"}));
    EXPECT_TRUE(toolRequest({m_bundle.tool("qtThumbs"), "-decoders"}).bounds);
    EXPECT_FALSE(toolRequest({"/bin/sh", "-c", "true"}).bounds);
    EXPECT_FALSE(toolRequest({"/usr/bin/ffmpeg", "-version"}).bounds);
    EXPECT_FALSE(toolRequest({}).bounds);
    EXPECT_EQ(
        taskArray1PipeMax(played({QStringLiteral("write=") + path("home/new")}), ErrorText::Merged),
        "done");
}

TEST_F(ToolConfinementTest, ALaunchedRunMayWriteInItsOutputFolder)
{
    for (const bool isNamed : {true, false}) {
        const QString file = path(isNamed ? "stills/named" : "stills/other");
        taskLauncher launcher;
        launcher.setOutputFolder(isNamed ? path("stills") : QString());
        ASSERT_EQ(launcher.launchTasksWithArguments(
                      {m_bundle.tool("ffmpeg"), "play", QStringLiteral("write=") + file}),
                  taskLauncher::Launched);
        ASSERT_TRUE(waitUntil([&] { return !launcher.isRunning(); }));
        EXPECT_EQ(QFileInfo::exists(file), isNamed || !isOffered());
    }
}

TEST_F(ToolConfinementTest, TheLogSaysWhatIsDone)
{
    const LogCapture log;
    logConfinement();
    EXPECT_TRUE(log.contains(confinementText()));
    setConfinementOn(false);
    logConfinement();
    EXPECT_TRUE(log.contains("confinement         : off"));
}

class ConfinedFfmpegTest : public ToolConfinementTest
{
protected:
    ConfinedFfmpegTest() : ToolConfinementTest(TestBundle::Ffmpeg::Real) {}
};

TEST_F(ConfinedFfmpegTest, MakesPicturesOfPlainFilesOnly)
{
    QImage frame(320, 180, QImage::Format_RGB32);
    frame.fill(Qt::red);
    ASSERT_TRUE(frame.save(path("home/film.mp4"), "PNG"));
    writeFile(path("home/list.mp4"), "ffconcat version 1.0\nfile film.mp4\n");
    const QString picture = path("scratch/tools/picture.jpg");
    const auto taken = [&](const QString &source, const QString &format) {
        QFile::remove(picture);
        taskArray1PipeMax(
            {m_bundle.tool("ffmpeg"), "-f", format, "-i", source, "-frames:v", "1", picture},
            ErrorText::Merged);
        return QImage(picture).size();
    };
    EXPECT_EQ(taken(path("home/film.mp4"), "png_pipe"), QSize(320, 180));
    EXPECT_TRUE(taken(path("home/list.mp4"), "concat").isEmpty());
    EXPECT_TRUE(taken("testsrc=s=320x180", "lavfi").isEmpty());
}

// ---- limits

ToolOutcome outcomeOf(const QStringList &steps, const ToolLimits &limits, int output = -1)
{
    SpawnRequest request;
    request.command = played(steps);
    request.environment = toolEnvironment();
    request.standardOutput = output;
    request.bounds = ToolBounds{limits, ToolAccess{{}, {"/"}, {QDir::tempPath()}}};
    auto child = ChildProcess::spawn(request);
    EXPECT_TRUE(child);
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }, 30000));
    return child->outcome();
}

TEST(ToolLimitsTest, AToolThatUsesTooMuchIsEndedAndItIsToldWhy)
{
    EXPECT_EQ(outcomeText(outcomeOf({"spin=20000"}, {.processorTime = 1})),
              "computed for more than 1 s and was ended");
    const QTemporaryDir folder;
    const QString file = folder.filePath("filled");
    EXPECT_EQ(outcomeText(outcomeOf({"fill=" + file}, {.fileSize = 3 << 20})),
              "wrote a file of more than 3 MB");
    EXPECT_EQ(QFileInfo(file).size(), 3 << 20);
    if (isSanitized) {
        GTEST_SKIP() << "the sanitizer reserves all memory";
    }
    const ToolLimits limits{.memory = quint64{1} << 30};
    EXPECT_EQ(outcomeText(outcomeOf({"allocate=2000"}, limits)),
              "used more than 1024 MB of memory");
    EXPECT_EQ(outcomeText(outcomeOf({"allocate=100", "exit=1"}, limits)),
              "ended with exit status 1");
}

TEST(ToolLimitsTest, AToolLeavesNoCore)
{
    Pipe pipe = Pipe::create();
    outcomeOf({"cores"}, {}, pipe.writeEnd.get());
    char answer = 0;
    ASSERT_EQ(::read(pipe.readEnd.get(), &answer, 1), 1);
    EXPECT_EQ(answer, '0');
}

} // namespace
