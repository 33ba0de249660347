#include "support/off_thread.h"

#include "common/wait_until.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace qv;

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
