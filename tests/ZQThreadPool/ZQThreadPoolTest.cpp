#include "support/Threads.h"

TEST(ZQThreadPoolTest, GrowsToItsMaximumAndDropsWhatIsQueuedWhenStopped) {
    Block block;
    Gate never;
    {
        ZQThreadPool pool(1, 0, 120);
        EXPECT_TRUE(pool.Start(Block::Run, &block));
        EXPECT_TRUE(pool.Start(Block::Run, &block));
        EXPECT_EQ(pool.GetCapacity(), 0);  // a maximum of 0 starts nobody
        EXPECT_EQ(pool.GetWaits(), 2);
        for (const int n : {2, 0, -3}) { pool.AddCapacity(n); }
        EXPECT_TRUE(pool.Start(ArriveAt, &never));
        block.entered.WaitFor(2);  // the first worker has passed the second task on
        EXPECT_EQ(pool.GetCapacity(), 2);
        pool.StopAll();
        EXPECT_FALSE(pool.Start(ArriveAt, &never));
        EXPECT_EQ(pool.GetWaits(), 1);
        block.Finish();
        pool.JoinAll();
        EXPECT_EQ(pool.GetCapacity(), 0);
    }
    EXPECT_EQ(never.Arrivals(), 0);
}

TEST(ZQThreadPoolTest, RunsTasksInTheirOrderOnItsOwnThreads) {
    ZQThreadPool pool(1, 1, 0);
    Gate done;
    std::vector<Turn> turns(100, Turn{&done});
    for (Turn& turn : turns) { pool.Start(Turn::Take, &turn); }
    done.WaitFor(100);
    ExpectOrder(turns);
    for (const Turn& turn : turns) { EXPECT_TRUE(pool.IsSelfThread(turn.threadId)); }
    EXPECT_FALSE(pool.IsSelfThread(ZQThread::GetCurrentThreadID()));
}

TEST(ZQThreadPoolTest, StopsWhileManySubmit) {
    // A task that is submitted at the very moment of the stop is refused or queued; nobody hangs.
    for (int round = 0; round < 100; ++round) {
        Gate ran, accepted;
        ZQThreadPool pool(1, 3, 0);
        InThreads(4, [&](int i) {
            while (i < 3 && pool.Start(ArriveAt, &ran)) { accepted.Arrive(); }
            if (i == 3) {
                ran.WaitFor(10);
                pool.StopAll();
            }
        });
        pool.JoinAll();
        EXPECT_EQ(ran.Arrivals() + pool.GetWaits(), accepted.Arrivals());
    }
}
