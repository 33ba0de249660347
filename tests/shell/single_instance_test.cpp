#include "common/folder_test.h"
#include "common/log_capture.h"
#include "common/wait_until.h"
#include "shell/hand_over.h"
#include "shell/single_instance.h"

#include <QLocalSocket>
#include <QThread>

#include <csignal>
#include <memory>
#include <unistd.h>

using namespace qv;

namespace
{

class SingleInstanceTest : public FolderTest
{
protected:
    SingleInstanceTest()
    {
        QObject::connect(&m_first, &SingleInstance::pathsReceived,
                         [this](const QStringList &paths) { m_received += paths; });
        QObject::connect(&m_first, &SingleInstance::activationRequested, [this] { ++m_calls; });
        QObject::connect(&m_first, &SingleInstance::actionRequested,
                         [this](LaunchAction action) { m_actions += action; });
    }
    QString folder() const { return m_folder.path(); }
    QString file(const QString &extension) const
    {
        return m_folder.filePath(QString("quorvantel-%1.").arg(::getuid()) + extension);
    }
    // A later copy, which blocks while it waits, beside our event loop.
    template <typename Bring> bool fromLater(Bring bring)
    {
        bool taken = false;
        std::unique_ptr<QThread> later(QThread::create([&] {
            const SingleInstance second(folder());
            taken = bring(second);
        }));
        later->start();
        EXPECT_TRUE(waitUntil([&] { return later->isFinished(); }));
        later->wait();
        return taken;
    }
    bool handOver(const QByteArrayList &paths)
    {
        return fromLater([&](const SingleInstance &later) { return later.handOver(paths); });
    }
    bool handOverAction(LaunchAction action)
    {
        return fromLater([&](const SingleInstance &later) { return later.handOverAction(action); });
    }

    LogCapture m_log;
    SingleInstance m_first{m_folder.path()};
    QStringList m_received;
    QList<LaunchAction> m_actions;
    int m_calls = 0;
};

} // namespace

TEST_F(SingleInstanceTest, OnlyTheFirstCopyIsAloneAndTakesWhatLaterOnesBring)
{
    EXPECT_FALSE(handOver(QByteArrayList{"/films/a.mp4"})) << "nobody listens";
    EXPECT_EQ(m_first.runningCopies(), 1);
    EXPECT_EQ(m_first.runningCopies(), 1);
    EXPECT_GE(SingleInstance(folder()).runningCopies(), 2);
    EXPECT_TRUE(handOver(
        QByteArrayList{"/films/a.mp4", "/films/new\nline & 100%.mov", "./x/../relative.mp4", "."}));
    EXPECT_EQ(m_received,
              (QStringList{"/films/a.mp4", "/films/new\nline & 100%.mov",
                           QDir::currentPath() + "/relative.mp4", QDir::currentPath()}));
    EXPECT_EQ(m_calls, 0);
    EXPECT_TRUE(handOver({})) << "it only comes to the front";
    EXPECT_EQ(m_calls, 1);
    EXPECT_TRUE(m_actions.isEmpty());
    EXPECT_TRUE(handOverAction(LaunchAction::ShowPreferences));
    EXPECT_EQ(m_actions, QList<LaunchAction>{LaunchAction::ShowPreferences});
    EXPECT_EQ(m_calls, 1);
}

TEST_F(SingleInstanceTest, TakesMorePathsThanOneMessageHolds)
{
    ASSERT_EQ(m_first.runningCopies(), 1);
    const QByteArray path = '/' + QByteArray(300, 'x');
    EXPECT_TRUE(handOver(QByteArrayList(20'000, path)));
    EXPECT_EQ(m_received.size(), 20'000);
}

TEST_F(SingleInstanceTest, TakesNothingMoreWhenItIsAboutToEndButStaysTheOnlyOne)
{
    ASSERT_EQ(m_first.runningCopies(), 1);
    QLocalSocket speechless;
    speechless.connectToServer(file("socket"));
    QObject::connect(&m_first, &SingleInstance::activationRequested, &m_first,
                     &SingleInstance::stopListening);
    handOver({});
    EXPECT_TRUE(
        waitUntil([&] { return speechless.state() == QLocalSocket::UnconnectedState; }, 2000));
    EXPECT_FALSE(handOver(QByteArrayList{"/films/a.mp4"}));
    EXPECT_EQ(m_received, QStringList());
    EXPECT_EQ(SingleInstance(folder()).runningCopies(), 2);
}

TEST_F(SingleInstanceTest, WhateverElseArrivesIsTurnedAway)
{
    for (const QByteArray &payload :
         {QByteArray("/no end"), QByteArray("relative\0", 9), QByteArray("/a\0\0/b\0", 7),
          QByteArray("\0", 1), QByteArray("--preferences"), QByteArray("--preferences\0/a\0", 17),
          '/' + QByteArray(5000, 'x') + '\0'}) {
        EXPECT_FALSE(handover::pathsIn(payload)) << payload.constData();
        EXPECT_FALSE(handover::actionIn(payload)) << payload.constData();
    }
    ASSERT_EQ(m_first.runningCopies(), 1);
    for (const QByteArray &message :
         {QByteArray("GET / HTTP/1.1\r\n\r\n"), QByteArray(64, '\0'),
          QByteArray("QVH1\xff\xff\xff\xff/a", 10), handover::messages({"relative"}).first()}) {
        QLocalSocket socket;
        socket.connectToServer(file("socket"));
        socket.write(message);
        ASSERT_TRUE(waitUntil([&] { return socket.state() == QLocalSocket::UnconnectedState; }));
        EXPECT_NE(socket.readAll(), "Y") << message.constData();
    }
    EXPECT_EQ(m_received, QStringList());
    EXPECT_EQ(m_calls, 0);
    EXPECT_TRUE(handOver(QByteArrayList{"/still listening"}));
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
    EXPECT_TRUE(handOver(QByteArrayList{"/films/a.mp4"}));
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
