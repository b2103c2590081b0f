#include "ZQThreadPool.h"

#include "support/Gate.h"
#include "support/Threads.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <vector>

namespace {
void ArriveAt(void* pGate) { static_cast<Gate*>(pGate)->Arrive(); }

/// Enters a gate and waits until another is open.
struct Block {
    Gate entered;
    Gate opened;

    static void Run(void* p) {
        static_cast<Block*>(p)->entered.Arrive();
        static_cast<Block*>(p)->opened.WaitFor(1);
    }
};
}  // namespace

TEST(ZQThreadPoolTest, GrowsOnDemandUpToItsMaximum) {
    Block block;
    Gate done;
    ZQThreadPool pool(1, 0, 120);
    EXPECT_EQ(pool.GetWaits(), 0);
    EXPECT_TRUE(pool.Start(Block::Run, &block));
    for (const int n : {0, -3}) { pool.AddCapacity(n); }
    EXPECT_TRUE(pool.Start(Block::Run, &block));
    EXPECT_EQ(pool.GetCapacity(), 0);  // a maximum of 0 starts nobody
    EXPECT_EQ(pool.GetWaits(), 2);
    pool.AddCapacity(2);
    EXPECT_TRUE(pool.Start(ArriveAt, &done));
    block.entered.WaitFor(2);  // the first worker has passed the second task on
    EXPECT_EQ(pool.GetCapacity(), 2);
    EXPECT_EQ(pool.GetWaits(), 1);
    block.opened.Arrive();
    done.WaitFor(1);
    EXPECT_EQ(pool.GetCapacity(), 2);
}

TEST(ZQThreadPoolTest, RunsTasksInTheirOrderOnItsOwnThreads) {
    struct Run {
        ZQThreadPool pool{1, 1, 0};
        std::vector<int> order;
        Gate done;
    } run;
    struct Task {
        Run* run;
        int n;
    };
    std::vector<Task> tasks;
    for (int i = 0; i < 100; ++i) { tasks.push_back({&run, i}); }
    for (Task& task : tasks) {
        run.pool.Start(
            [](void* p) {
                const Task& t = *static_cast<Task*>(p);
                EXPECT_TRUE(t.run->pool.IsSelfThread(ZQThread::GetCurrentThreadID()));
                t.run->order.push_back(t.n);
                t.run->done.Arrive();
            },
            &task);
    }
    run.done.WaitFor(100);
    EXPECT_TRUE(std::is_sorted(run.order.begin(), run.order.end()));
    EXPECT_FALSE(run.pool.IsSelfThread(ZQThread::GetCurrentThreadID()));
}

TEST(ZQThreadPoolTest, StopRefusesTasksAndDropsTheQueuedOnes) {
    Block block;
    Gate never;
    {
        ZQThreadPool pool(1, 1, 0);
        pool.Start(Block::Run, &block);
        block.entered.WaitFor(1);
        pool.Start(ArriveAt, &never);
        pool.StopAll();
        EXPECT_FALSE(pool.Start(ArriveAt, &never));
        EXPECT_EQ(pool.GetWaits(), 1);
        block.opened.Arrive();
        pool.JoinAll();
        EXPECT_EQ(pool.GetCapacity(), 0);
    }
    EXPECT_EQ(never.Arrivals(), 0);
}

TEST(ZQThreadPoolTest, StopsWhileManySubmit) {
    // A task that is submitted at the very moment of the stop is refused or queued; nobody hangs.
    for (int round = 0; round < 100; ++round) {
        std::atomic<long> ran{0};
        ZQThreadPool pool(1, 3, 0);
        const auto count = [](void* p) { static_cast<std::atomic<long>*>(p)->fetch_add(1); };
        long accepted[3] = {};
        InThreads(4, [&](int i) {
            if (i == 3) {
                while (ran.load() < 10) { std::this_thread::yield(); }
                pool.StopAll();
                return;
            }
            while (pool.Start(count, &ran)) { ++accepted[i]; }
        });
        pool.JoinAll();
        EXPECT_EQ(ran + pool.GetWaits(), accepted[0] + accepted[1] + accepted[2]);
    }
}
