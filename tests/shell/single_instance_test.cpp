#include "common/log_capture.h"
#include "common/wait_until.h"
#include "shell/hand_over.h"
#include "shell/single_instance.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace qv;

namespace
{

class SingleInstanceTest : public testing::Test
{
protected:
    SingleInstanceTest() { watch(m_first); }
    void watch(SingleInstance &instance)
    {
        QObject::connect(&instance, &SingleInstance::pathsReceived,
                         [this](const QStringList &paths) { m_received += paths; });
        QObject::connect(&instance, &SingleInstance::activationRequested, [this] { ++m_calls; });
    }
    QString folder() const { return m_folder.path(); }
    QString file(const QString &extension) const
    {
        return m_folder.filePath(QString("quorvantel-%1.").arg(::getuid()) + extension);
    }
    // A later copy, which blocks while it waits, beside our event loop.
    bool handOver(const QByteArrayList &paths)
    {
        bool taken = false;
        std::unique_ptr<QThread> later(QThread::create([&] {
            const SingleInstance second(folder());
            taken = second.handOver(paths);
        }));
        later->start();
        EXPECT_TRUE(waitUntil([&] { return later->isFinished(); }));
        later->wait();
        return taken;
    }

    QTemporaryDir m_folder;
    LogCapture m_log;
    SingleInstance m_first{m_folder.path()};
    QStringList m_received;
    int m_calls = 0;
};

} // namespace

TEST_F(SingleInstanceTest, OnlyTheFirstCopyIsAlone)
{
    EXPECT_EQ(m_first.runningCopies(), 1);
    EXPECT_EQ(m_first.runningCopies(), 1);
    auto second = std::make_unique<SingleInstance>(folder());
    EXPECT_GE(second->runningCopies(), 2);
    SingleInstance elsewhere(folder() + "/..");
    struct stat status {
    };
    ASSERT_EQ(::stat(QFile::encodeName(file("lock")).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(SingleInstanceTest, HandsPathsOverAndCallsTheFirstCopyToTheFront)
{
    ASSERT_EQ(m_first.runningCopies(), 1);
    EXPECT_TRUE(handOver({"/films/a.mp4", "/films/new\nline & 100%.mov", "relative.mp4"}));
    EXPECT_EQ(m_received, (QStringList{"/films/a.mp4", "/films/new\nline & 100%.mov",
                                       QDir::currentPath() + "/relative.mp4"}));
    EXPECT_EQ(m_calls, 0);
    EXPECT_TRUE(handOver({}));
    EXPECT_EQ(m_calls, 1);
}

TEST_F(SingleInstanceTest, TakesThousandsOfPathsButNoFlood)
{
    ASSERT_EQ(m_first.runningCopies(), 1);
    const QByteArray path = '/' + QByteArray(300, 'x');
    EXPECT_TRUE(handOver(QByteArrayList(10'000, path)));
    EXPECT_EQ(m_received.size(), 10'000);
    EXPECT_FALSE(handOver(QByteArrayList(20'000, path)));
    EXPECT_EQ(m_received.size(), 10'000);
}

TEST_F(SingleInstanceTest, TellsThatNobodyTookThePaths)
{
    EXPECT_FALSE(handOver({"/films/a.mp4"})) << "nobody listens";
}

TEST_F(SingleInstanceTest, WhateverElseArrivesIsTurnedAway)
{
    ASSERT_EQ(m_first.runningCopies(), 1);
    const QByteArray good = handover::message({"/a"});
    QByteArrayList messages{"GET / HTTP/1.1\r\n\r\n", QByteArray(64, '\0'), good.left(7),
                            QByteArray("QVH1\xff\xff\xff\xff/a", 10)};
    for (const QByteArray &payload :
         {QByteArray("/no end"), QByteArray("relative\0", 9), QByteArray("/a\0\0/b\0", 7),
          QByteArray("\0", 1), '/' + QByteArray(5000, 'x') + '\0'}) {
        messages << "QVH1" +
                        QByteArray::fromHex(
                            QByteArray::number(payload.size(), 16).rightJustified(8, '0')) +
                        payload;
    }
    for (const QByteArray &message : messages) {
        QLocalSocket socket;
        socket.connectToServer(file("socket"));
        socket.write(message);
        socket.flush();
        if (message == good.left(7)) {
            QCoreApplication::processEvents();
            socket.disconnectFromServer();
        }
        ASSERT_TRUE(waitUntil([&] {
            return socket.state() == QLocalSocket::UnconnectedState || socket.bytesAvailable() > 0;
        })) << message.constData();
        EXPECT_NE(socket.readAll(), "Y") << message.constData();
    }
    EXPECT_EQ(m_received, QStringList());
    EXPECT_EQ(m_calls, 0);
    EXPECT_TRUE(handOver({"/still listening"}));
}

TEST_F(SingleInstanceTest, ManySilentCallersDoNotKeepALaterCopyOut)
{
    ASSERT_EQ(m_first.runningCopies(), 1);
    std::vector<std::unique_ptr<QLocalSocket>> silent(7);
    for (auto &socket : silent) {
        socket = std::make_unique<QLocalSocket>();
        socket->connectToServer(file("socket"));
    }
    EXPECT_TRUE(handOver({"/films/a.mp4"}));
}

TEST_F(SingleInstanceTest, AKilledCopyStopsNobody)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        SingleInstance first(folder());
        ::_exit(first.runningCopies() == 1 && ::kill(::getpid(), SIGKILL) == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_TRUE(QFile::exists(file("socket"))) << "left behind";
    EXPECT_EQ(m_first.runningCopies(), 1);
    EXPECT_TRUE(handOver({"/films/a.mp4"}));
}

TEST_F(SingleInstanceTest, WithoutALockEveryCopyIsAlone)
{
    QFile(m_folder.filePath("target")).open(QIODevice::WriteOnly);
    QFile::link(m_folder.filePath("target"), file("lock"));
    EXPECT_EQ(m_first.runningCopies(), 1);
    EXPECT_TRUE(m_log.contains("instance lock       :-("));
    SingleInstance nowhere(folder() + "/missing");
    EXPECT_EQ(nowhere.runningCopies(), 1);
}

TEST(UsersFolder, IsTheRuntimeFolderOnlyWhenThatIsTheUsersOwn)
{
    QTemporaryDir own;
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", own.path().toUtf8());
    EXPECT_EQ(SingleInstance::usersFolder(), own.path());
    for (const QByteArray other : {"", "relative", "/missing"}) {
        qputenv("XDG_RUNTIME_DIR", other);
        EXPECT_EQ(SingleInstance::usersFolder(), QString(qgetenv("TMPDIR"))) << other.constData();
    }
    before.isNull() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", before);
}
