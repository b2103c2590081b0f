#include "support/Fatal.h"
#include "support/Threads.h"

#include <functional>

using Job = std::function<void()>;

/// Two shared pools and a count of what became of the jobs. A task pool on them runs jobs; the fixture outlives it.
class ZQTaskPoolTest : public testing::Test {
protected:
    ~ZQTaskPoolTest() override {
        for (ZQRefThreadPool* threads : {m_pThreads, m_pSingle}) {
            // Not before the workers, one of which may finish a task pool's destruction, have dropped their references.
            Await([threads] { return __atomic_load_n(&threads->m_nRefs, __ATOMIC_ACQUIRE) == 1; });
            threads->Unref();
        }
    }
    int Init(ZQTaskPool& pool, ZQRefThreadPool* threads) { return pool.Init(threads, RunJob, DropJob, this); }
    /// Queues a job; a refused one is gone.
    static int Queue(ZQTaskPool& pool, Job job, bool bUrgent = false) {
        Job* const pJob = new Job(std::move(job));
        const int result = pool.Task(pJob, bUrgent);
        delete (result != 0 ? pJob : nullptr);
        return result;
    }
    static void Occupy(ZQTaskPool& pool, Block& block) {
        ASSERT_EQ(Queue(pool, [&block] { Block::Run(&block); }), 0);
        block.entered.WaitFor(1);
    }
    static void RunJob(void* data, void* user) {
        (*static_cast<Job*>(data))();
        delete static_cast<Job*>(data);
        ++static_cast<ZQTaskPoolTest*>(user)->m_ran;
    }
    static void DropJob(void* data, void* user) {
        delete static_cast<Job*>(data);
        ++static_cast<ZQTaskPoolTest*>(user)->m_dropped;
    }

    ZQRefThreadPool* m_pThreads = ZQRefThreadPool::Create(8, 0);
    ZQRefThreadPool* m_pSingle = ZQRefThreadPool::Create(1, 0);
    std::atomic<long> m_ran{0}, m_dropped{0};
};

static const auto Nothing = [] {};

TEST_F(ZQTaskPoolTest, ResultsFollowTheState) {
    ZQTaskPool pool(0, 2);
    const auto state = [&pool] {
        const std::string flags = std::string(pool.IsInit() ? "bound, " : "") + (pool.IsReady() ? "ready, " : "");
        return flags + std::to_string(Queue(pool, Nothing));
    };
    EXPECT_EQ(state(), "-2");
    pool.Pause(true);
    EXPECT_EQ(state(), "-2");
    EXPECT_EQ(pool.Resume(), 0);
    pool.Uninit(true);
    EXPECT_EQ(pool.Init(m_pThreads, nullptr, DropJob, this), -5);
    EXPECT_EQ(Init(pool, m_pThreads), 0);
    EXPECT_EQ(Init(pool, m_pThreads), -5);
    EXPECT_EQ(state(), "bound, ready, 0");
    pool.Pause(false);
    EXPECT_EQ(state(), "bound, -4");
    pool.Uninit(false);  // does not close a paused pool
    EXPECT_EQ(state(), "bound, -4");
    EXPECT_EQ(pool.Resume(), 0);
    EXPECT_EQ(state(), "bound, ready, 0");
    pool.Uninit(true);
    EXPECT_EQ(state(), "-1");
    pool.Pause(true);
    EXPECT_EQ(pool.Resume(), -1);
    EXPECT_EQ(Init(pool, m_pThreads), -5);
    EXPECT_EQ(m_ran + m_dropped, 2);
}

TEST_F(ZQTaskPoolTest, OneSlotKeepsTheOrderAndItsBoundAndUrgentOnesGoFirst) {
    ZQTaskPool pool(102, 1);
    ASSERT_EQ(Init(pool, m_pThreads), 0);
    Block block;
    Occupy(pool, block);
    for (const bool bUrgent : {false, true}) { EXPECT_EQ(Queue(pool, Nothing, bUrgent), 0); }
    pool.Clean();
    EXPECT_EQ(m_dropped, 2);
    EXPECT_EQ(pool.GetWaitTaskCount(), 0);
    std::vector<int> order;
    for (int i = 0; i < 104; ++i) {
        const auto job = [&order, i] { order.push_back(i); };
        EXPECT_EQ(Queue(pool, job, i >= 100 && i != 102), i < 102 ? 0 : -3);
    }
    EXPECT_EQ(pool.GetWaitTaskCount(), 102);
    block.Finish();
    pool.Pause(true);
    EXPECT_EQ(pool.GetWaitTaskCount(), 0);
    EXPECT_EQ(m_dropped, 2);
    ASSERT_EQ(order.size(), 102U);
    for (int i = 0; i < 102; ++i) { EXPECT_EQ(order[static_cast<size_t>(i)], i < 2 ? 101 - i : i - 2); }
}

TEST_F(ZQTaskPoolTest, PauseTakesBackSlotsThatABusySharedPoolHasNotStarted) {
    Block block;
    block.Occupy(*m_pSingle);
    ZQTaskPool pool(0, 4);
    ASSERT_EQ(Init(pool, m_pSingle), 0);
    for (int i = 0; i < 10; ++i) { Queue(pool, Nothing); }
    pool.Pause(false);  // does not wait for the worker, which is busy
    EXPECT_EQ(pool.GetWaitTaskCount(), 10);
    EXPECT_EQ(m_ran, 0);
    EXPECT_EQ(pool.Resume(), 0);
    pool.Pause(true);  // nobody else can: the caller runs them all
    EXPECT_EQ(m_ran, 10);
    pool.Resume();
    Queue(pool, Nothing);
    block.Finish();
    pool.Uninit(true);
    EXPECT_EQ(m_ran, 11);
}

TEST_F(ZQTaskPoolTest, OperationsInsideATaskDoNotWaitForIt) {
    for (const bool bDrain : {false, true}) {
        SCOPED_TRACE(bDrain);
        const long before = m_ran + m_dropped;
        ZQTaskPool pool(0, 2);
        ASSERT_EQ(Init(pool, m_pThreads), 0);
        Block block;
        Occupy(pool, block);
        Gate queued;
        Queue(pool, [&] {
            queued.WaitFor(1);
            pool.Pause(bDrain);  // waits for the other slot
            pool.Pause(bDrain);
            EXPECT_EQ(pool.GetWaitTaskCount(), bDrain ? 0 : 5);
            EXPECT_EQ(Queue(pool, Nothing), -4);
            EXPECT_EQ(pool.Resume(), 0);
            pool.Uninit(bDrain);
            EXPECT_EQ(pool.GetWaitTaskCount(), 0);
            EXPECT_EQ(pool.Resume(), -1);
        });
        for (int i = 0; i < 5; ++i) { Queue(pool, Nothing); }
        queued.Arrive();
        Await([&pool] { return !pool.IsReady(); });
        block.Finish();
        Await([&] { return m_ran + m_dropped >= before + 7; });
        EXPECT_EQ(m_ran + m_dropped, before + 7);
    }
}

TEST_F(ZQTaskPoolTest, PauseReturnsAlthoughItsOnlyWorkerWouldHaveToRunWhatAResumeHasHandedOut) {
    ZQTaskPool pool(0, 2);
    ASSERT_EQ(Init(pool, m_pSingle), 0);
    Gate queued;
    Queue(pool, [&] {
        queued.WaitFor(1);
        pool.Pause(true);
    });
    Queue(pool, [&pool] { EXPECT_EQ(pool.Resume(), 0); });
    queued.Arrive();
    Await([this] { return m_ran == 2; });
    EXPECT_EQ(Queue(pool, Nothing), 0);
    Await([this] { return m_ran == 3; });
    EXPECT_TRUE(pool.IsReady());
}

TEST_F(ZQTaskPoolTest, MayBeDestroyedInsideATask) {
    for (int i = 0; i < 50; ++i) {
        Gate gone;
        Block block;
        ZQTaskPool* pool = new ZQTaskPool(0, 2);
        ASSERT_EQ(Init(*pool, m_pThreads), 0);
        Occupy(*pool, block);
        Queue(*pool, [&] {
            delete pool;
            gone.Arrive();
        });
        Queue(*pool, Nothing);
        block.Finish();
        gone.WaitFor(1);
    }
    // A pool that drains on the thread that pauses or closes it: the same, inside the drain.
    for (const bool bUninit : {false, true}) {
        Block block;
        block.Occupy(*m_pSingle);
        ZQTaskPool* pool = new ZQTaskPool(0, 1);
        ASSERT_EQ(Init(*pool, m_pSingle), 0);
        const long ran = m_ran;
        Queue(*pool, [pool] { delete pool; });
        Queue(*pool, Nothing);
        bUninit ? pool->Uninit(true) : pool->Pause(true);
        EXPECT_EQ(m_ran - ran, 2);
        block.Finish();
    }
}

TEST_F(ZQTaskPoolTest, EachItemMeetsOneCallbackAndNoMoreRunThanThereAreSlots) {
    // Two threads queue while two others pause, drain, resume and clean; then the pool is closed or just destroyed.
    std::atomic<long> taken{0};
    std::atomic<int> running{0}, tooMany{0};
    for (int round = 0; round < 40; ++round) {
        const int slots = 1 + round % 4;
        const auto job = [&running, &tooMany, slots] {
            tooMany += running.fetch_add(1) >= slots ? 1 : 0;
            std::this_thread::yield();
            --running;
        };
        {
            ZQTaskPool pool(round % 3 == 0 ? 50 : 0, slots);
            ASSERT_EQ(Init(pool, m_pThreads), 0);
            InThreads(4, [&](int i) {
                for (int n = 0; i < 2 && n < 300; ++n) { taken += Queue(pool, job, n % 7 == 0) == 0 ? 1 : 0; }
                for (int n = 0; i >= 2 && n < 10; ++n) {
                    i == 2 && n % 3 == 0 ? pool.Clean() : pool.Pause(n % 2 == 0);
                    pool.Resume();
                }
            });
            if (round % 2 == 0) {
                pool.Uninit(round % 4 == 0);
                EXPECT_EQ(pool.GetWaitTaskCount(), 0);
            }
        }
        EXPECT_EQ(tooMany, 0);
        EXPECT_EQ(m_ran + m_dropped, taken);
    }
}

TEST_F(ZQTaskPoolTest, SteadyStreamDoesNotAllocate) {
    ZQTaskPool pool(500, 2);
    ASSERT_EQ(pool.Init(m_pSingle, ArriveAt, nullptr, nullptr), 0);
    WarmUp(*m_pSingle, 1, 4);
    for (int i = 0; i < 600; ++i) { m_pSingle->FreeTPLTaskNode(ZQRefThreadPool::NewTPLTaskNode(nullptr)); }
    EXPECT_EQ(AllocationsOfStream([&](void* gate) { return pool.Task(gate, false) == 0; }), 0);
    pool.Uninit(true);
}

TEST(ZQTaskPoolLongQueueTest, KeepsItsOrderDrainedOrCleaned) {
    constexpr intptr_t Length = 230000;  // more than there are nodes in the caches
    struct Queue {
        Block block;
        intptr_t next = 0;
        bool inOrder = true;
        static void Next(void* data, void* user) {
            Queue& queue = *static_cast<Queue*>(user);
            queue.inOrder &= reinterpret_cast<intptr_t>(data) == queue.next++;
        }
        static void Run(void* data, void* user) {
            Next(data, user);
            data == nullptr ? Block::Run(&static_cast<Queue*>(user)->block) : void();
        }
    };
    for (const bool clean : {false, true}) {
        Queue queue;
        ZQTaskPool pool(0, 1);
        ASSERT_EQ(pool.Init(nullptr, Queue::Run, Queue::Next, &queue), 0);
        for (intptr_t i = 0; i < Length; ++i) { ASSERT_EQ(pool.Task(reinterpret_cast<void*>(i), false), 0); }
        queue.block.entered.WaitFor(1);
        EXPECT_EQ(pool.GetWaitTaskCount(), Length - 1);
        clean ? pool.Clean() : void();
        queue.block.opened.Arrive();
        pool.Uninit(true);
        EXPECT_EQ(queue.next, Length);
        EXPECT_TRUE(queue.inOrder);
    }
}

TEST(ZQTaskPoolDeathTest, NeedsASlot) {
    ExpectCrash([] { ZQTaskPool(0, 0); }, "_Abort: iThreadNums>0, Foundation/src/ZQThreadPool, [0-9]+\n");
}
