#include "ZQThreadPool.h"

#include "support/Allocations.h"
#include "support/Fatal.h"
#include "support/Threads.h"
#include "support/Workers.h"

#include "ZQOSApi.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {
using Job = std::function<void()>;

/// A private shared pool and a count of what became of the jobs. A task pool on it runs jobs; the fixture outlives it.
class ZQTaskPoolTest : public testing::Test {
protected:
    ~ZQTaskPoolTest() override { Release(m_pThreads); }
    /// Drops the last reference when the workers, one of which may finish a task pool's destruction, have dropped theirs.
    static void Release(ZQRefThreadPool* threads) {
        while (ZQAtomicGet(&threads->m_nRefs) > 1) { std::this_thread::yield(); }
        threads->Unref();
    }
    int Init(ZQTaskPool& pool) { return pool.Init(m_pThreads, RunJob, DropJob, this); }
    /// Queues a job; a refused one is gone.
    int Queue(ZQTaskPool& pool, Job job, bool bUrgent = false) {
        Job* pJob = new Job(std::move(job));
        const int result = pool.Task(pJob, bUrgent);
        if (result != 0) {
            delete pJob;
        }
        return result;
    }
    /// Keeps one slot of @p pool busy until the returned gate is open.
    void Occupy(ZQTaskPool& pool, Gate& opened) {
        Gate entered;
        ASSERT_EQ(Queue(pool,
                        [&] {
                            entered.Arrive();
                            opened.WaitFor(1);
                        }),
                  0);
        entered.WaitFor(1);
    }
    static void RunJob(void* data, void* user) {
        (*static_cast<Job*>(data))();
        delete static_cast<Job*>(data);
        static_cast<ZQTaskPoolTest*>(user)->m_ran.fetch_add(1);
    }
    static void DropJob(void* data, void* user) {
        delete static_cast<Job*>(data);
        static_cast<ZQTaskPoolTest*>(user)->m_dropped.fetch_add(1);
    }

    ZQRefThreadPool* m_pThreads = ZQRefThreadPool::Create(8, 0);
    std::atomic<long> m_ran{0};
    std::atomic<long> m_dropped{0};
};

const auto Nothing = [] {};
}  // namespace

TEST_F(ZQTaskPoolTest, ResultsFollowTheState) {
    ZQTaskPool pool(0, 2);
    const auto expect = [&](const char* state, bool isInit, bool isReady, int task) {
        SCOPED_TRACE(state);
        EXPECT_EQ(pool.IsInit(), isInit);
        EXPECT_EQ(pool.IsReady(), isReady);
        EXPECT_EQ(Queue(pool, Nothing), task);
    };
    expect("created", false, false, -2);
    pool.Pause(true);
    expect("paused before it is bound", false, false, -2);
    EXPECT_EQ(pool.Resume(), 0);
    pool.Uninit(true);
    EXPECT_EQ(pool.Init(m_pThreads, nullptr, DropJob, this), -5);
    EXPECT_EQ(Init(pool), 0);
    EXPECT_EQ(Init(pool), -5);
    expect("ready", true, true, 0);
    EXPECT_EQ(pool.Resume(), 0);
    pool.Pause(false);
    expect("paused", true, false, -4);
    pool.Uninit(false);
    expect("paused and uninitialised, which does not close it", true, false, -4);
    EXPECT_EQ(pool.Resume(), 0);
    expect("resumed", true, true, 0);
    pool.Uninit(true);
    expect("closed", false, false, -1);
    pool.Pause(true);
    EXPECT_EQ(pool.Resume(), -1);
    EXPECT_EQ(Init(pool), -5);
    EXPECT_EQ(m_ran + m_dropped, 2);
}

TEST_F(ZQTaskPoolTest, OneSlotKeepsTheOrderAndUrgentOnesGoFirst) {
    ZQTaskPool pool(0, 1);
    ASSERT_EQ(Init(pool), 0);
    Gate opened;
    Occupy(pool, opened);
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) {
        Queue(pool, [&order, i] { order.push_back(i); });
    }
    Queue(
        pool, [&order] { order.push_back(-1); }, true);
    Queue(
        pool, [&order] { order.push_back(-2); }, true);
    EXPECT_EQ(pool.GetWaitTaskCount(), 102);
    opened.Arrive();
    pool.Pause(true);
    EXPECT_EQ(pool.GetWaitTaskCount(), 0);
    ASSERT_EQ(order.size(), 102U);
    for (int i = 0; i < 102; ++i) { EXPECT_EQ(order[static_cast<size_t>(i)], i - 2); }
}

TEST_F(ZQTaskPoolTest, BoundRefusesAndLeavesTheDataToTheCaller) {
    ZQTaskPool pool(2, 1);
    ASSERT_EQ(Init(pool), 0);
    Gate opened;
    Occupy(pool, opened);
    EXPECT_EQ(Queue(pool, Nothing), 0);
    EXPECT_EQ(Queue(pool, Nothing, true), 0);
    EXPECT_EQ(Queue(pool, Nothing), -3);
    EXPECT_EQ(Queue(pool, Nothing, true), -3);
    EXPECT_EQ(pool.GetWaitTaskCount(), 2);
    pool.Clean();
    EXPECT_EQ(m_dropped, 2);
    EXPECT_EQ(pool.GetWaitTaskCount(), 0);
    EXPECT_EQ(Queue(pool, Nothing), 0);
    opened.Arrive();
    pool.Uninit(true);
    EXPECT_EQ(m_ran, 2);
    EXPECT_EQ(m_dropped, 2);
}

TEST_F(ZQTaskPoolTest, PauseTakesBackSlotsThatABusySharedPoolHasNotStarted) {
    ZQRefThreadPool* single = ZQRefThreadPool::Create(1, 0);
    {
        ZQTaskPool blocker(0, 1);
        ASSERT_EQ(blocker.Init(single, RunJob, DropJob, this), 0);
        Gate opened;
        Occupy(blocker, opened);
        ZQTaskPool pool(0, 4);
        ASSERT_EQ(pool.Init(single, RunJob, DropJob, this), 0);
        for (int i = 0; i < 10; ++i) { Queue(pool, Nothing); }
        pool.Pause(false);  // does not wait for the worker, which is busy
        EXPECT_EQ(pool.GetWaitTaskCount(), 10);
        EXPECT_EQ(m_ran, 0);
        EXPECT_EQ(pool.Resume(), 0);
        pool.Pause(true);  // nobody else can: the caller runs them all
        EXPECT_EQ(m_ran, 10);
        pool.Resume();
        Queue(pool, Nothing);
        opened.Arrive();
        pool.Uninit(true);
        blocker.Uninit(true);
        EXPECT_EQ(m_ran, 12);
    }
    single->Unref();
}

TEST_F(ZQTaskPoolTest, OperationsInsideATaskDoNotWaitForIt) {
    for (const bool bDrain : {false, true}) {
        SCOPED_TRACE(bDrain);
        m_ran = 0;
        m_dropped = 0;
        ZQTaskPool pool(0, 2);
        ASSERT_EQ(Init(pool), 0);
        Gate opened;
        Occupy(pool, opened);
        Gate queued;
        Gate done;
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
            done.Arrive();
        });
        for (int i = 0; i < 5; ++i) { Queue(pool, Nothing); }
        queued.Arrive();
        while (pool.IsReady()) { std::this_thread::yield(); }
        opened.Arrive();
        done.WaitFor(1);
        while (m_ran + m_dropped < 7) { std::this_thread::yield(); }
        EXPECT_EQ(m_ran + m_dropped, 7);
    }
}

TEST_F(ZQTaskPoolTest, PauseReturnsAlthoughItsOnlyWorkerWouldHaveToRunWhatAResumeHasHandedOut) {
    ZQRefThreadPool* single = ZQRefThreadPool::Create(1, 0);
    ZQTaskPool pool(0, 2);
    ASSERT_EQ(pool.Init(single, RunJob, DropJob, this), 0);
    single->Unref();
    Gate queued;
    Queue(pool, [&] {
        queued.WaitFor(1);
        pool.Pause(true);
    });
    Queue(pool, [&pool] { EXPECT_EQ(pool.Resume(), 0); });
    queued.Arrive();
    while (m_ran < 2) { std::this_thread::yield(); }
    EXPECT_EQ(Queue(pool, Nothing), 0);
    while (m_ran < 3) { std::this_thread::yield(); }
    EXPECT_TRUE(pool.IsReady());
    pool.Pause(true);
}

TEST_F(ZQTaskPoolTest, MayBeDestroyedInsideATask) {
    for (int i = 0; i < 50; ++i) {
        Gate gone;
        ZQTaskPool* pool = new ZQTaskPool(0, 2);
        ASSERT_EQ(Init(*pool), 0);
        Gate opened;
        Occupy(*pool, opened);
        Queue(*pool, [&] {
            delete pool;
            gone.Arrive();
        });
        Queue(*pool, Nothing);
        opened.Arrive();
        gone.WaitFor(1);
    }
    // A paused pool that drains on the thread that closes it: the same, inside the drain.
    for (const bool bUninit : {false, true}) {
        ZQRefThreadPool* single = ZQRefThreadPool::Create(1, 0);
        ZQTaskPool blocker(0, 1);
        ASSERT_EQ(blocker.Init(single, RunJob, DropJob, this), 0);
        Gate opened;
        Occupy(blocker, opened);
        ZQTaskPool* pool = new ZQTaskPool(0, 1);
        ASSERT_EQ(pool->Init(single, RunJob, DropJob, this), 0);
        single->Unref();
        const long ran = m_ran;
        Queue(*pool, [pool] { delete pool; });
        Queue(*pool, Nothing);
        bUninit ? pool->Uninit(true) : pool->Pause(true);
        EXPECT_EQ(m_ran - ran, 2);
        opened.Arrive();
    }
}

TEST_F(ZQTaskPoolTest, EachItemMeetsOneCallbackAndNoMoreRunThanThereAreSlots) {
    // Two threads queue while two others pause, drain, resume and clean; then the pool is closed or just destroyed.
    long queued = 0;
    for (int round = 0; round < 40; ++round) {
        const int slots = 1 + round % 4;
        std::atomic<int> running{0};
        std::atomic<int> tooMany{0};
        const auto job = [&running, &tooMany, slots] {
            tooMany += running.fetch_add(1) >= slots ? 1 : 0;
            std::this_thread::yield();
            running.fetch_sub(1);
        };
        std::atomic<long> taken{0};
        {
            ZQTaskPool pool(round % 3 == 0 ? 50 : 0, slots);
            ASSERT_EQ(Init(pool), 0);
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
        queued += taken;
        EXPECT_EQ(tooMany, 0);
        EXPECT_EQ(m_ran + m_dropped, queued);
    }
}

TEST_F(ZQTaskPoolTest, SteadyStreamDoesNotAllocate) {
    std::atomic<long> ran{0};
    const auto count = [](void* data, void*) {
        static_cast<std::atomic<long>*>(data)->fetch_add(1);
        std::this_thread::yield();
    };
    ZQRefThreadPool* threads = ZQRefThreadPool::Create(2, 0);
    ZQTaskPool pool(500, 2);
    ASSERT_EQ(pool.Init(threads, count, nullptr, nullptr), 0);
    const auto run = [&](long tasks) {
        const long until = ran + tasks;
        for (long i = 0; i < tasks; ++i) {
            while (pool.Task(&ran, false) != 0) { std::this_thread::yield(); }
        }
        while (ran < until) { std::this_thread::yield(); }
    };
    WarmUp(*threads, 2, 4);
    for (int i = 0; i < 600; ++i) { threads->FreeTPLTaskNode(ZQRefThreadPool::NewTPLTaskNode(nullptr)); }
    const long before = AllocationCount();
    run(100000);
    EXPECT_EQ(AllocationCount() - before, 0);
    pool.Uninit(true);
    threads->Unref();
}

TEST_F(ZQTaskPoolTest, UsesTheProcessWidePoolWhenNoneIsGiven) {
    ZQRefThreadPool* global = ZQRefThreadPool::Global();
    {
        ZQTaskPool pool(0, 1);
        ASSERT_EQ(pool.Init(nullptr, RunJob, nullptr, this), 0);
        EXPECT_EQ(global->m_nRefs, 2);
        Gate gate;
        Queue(pool, [&gate] { gate.Arrive(); });
        gate.WaitFor(1);
        ZQThreadPoolGlobalCleanup();  // the task pool keeps it alive
        Queue(pool, [&gate] { gate.Arrive(); });
        gate.WaitFor(2);
        EXPECT_NE(ZQRefThreadPool::Global(), global);
    }
}

TEST(ZQTaskPoolDeathTest, NeedsASlot) {
    ExpectCrash([] { ZQTaskPool pool(0, 0); }, "_Abort: iThreadNums>0, Foundation/src/ZQThreadPool, [0-9]+\n");
}
