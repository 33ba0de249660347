#include "support/off_thread.h"

#include "common/wait_until.h"

#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

using namespace qv;

TEST(OffThreadTest, WorksElsewhereAndEndsHereThroughTheLoop)
{
    OffThread offThread;
    QThread *worker = nullptr;
    QThread *told = nullptr;
    offThread.run([&] { worker = QThread::currentThread(); },
                  [&] {
                      told = QThread::currentThread();
                      EXPECT_FALSE(offThread.isRunning());
                  });
    EXPECT_TRUE(offThread.isRunning());
    EXPECT_TRUE(waitUntil([&] { return told != nullptr; }));
    EXPECT_EQ(told, QThread::currentThread());
    EXPECT_NE(worker, told);
}

TEST(OffThreadTest, GoesOnFromItsEnd)
{
    OffThread offThread;
    int ends = 0;
    std::function<void()> again = [&] {
        if (++ends < 3) {
            offThread.run([] {}, again);
        }
    };
    offThread.run([] {}, again);
    EXPECT_TRUE(waitUntil([&] { return ends == 3; }));
}

TEST(OffThreadTest, TellsNobodyOfAbandonedWorkButWaitsForIt)
{
    std::atomic<bool> done = false;
    bool told = false;
    OffThread offThread;
    offThread.run([&] { done = true; }, [&] { told = true; });
    offThread.abandon();
    EXPECT_TRUE(done);
    bool next = false;
    offThread.run([] {}, [&] { next = true; });
    EXPECT_TRUE(waitUntil([&] { return next; }));
    EXPECT_FALSE(told);
}
