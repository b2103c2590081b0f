#include "ZQThreadPool.h"

#include "support/Allocations.h"
#include "support/Fatal.h"
#include "support/Threads.h"
#include "support/Workers.h"

#include "ZQOSApi.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace {
struct Unref {
    void operator()(ZQRefThreadPool* pool) const { pool->Unref(); }
};
using PoolPtr = std::unique_ptr<ZQRefThreadPool, Unref>;

void ArriveAt(void* pGate, long) { static_cast<Gate*>(pGate)->Arrive(); }

void SleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
}  // namespace

TEST(ZQRefThreadPoolTest, AutomaticFigures) {
    const int automatic = std::clamp(2 * ZQGetCPUProcessorNumber() + 1, 16, 64);
    const struct {
        int maximum, seconds, expectedMaximum, expectedMinimum, expectedMs;
    } cases[] = {
        {0, 120, automatic, automatic / 2 + 1, 120000},
        {-5, 0, automatic, automatic / 2 + 1, 0},
        {1, 1, 1, 1, 1000},
        {200, -1, 200, 101, -1000},
        {4, 2147484, 4, 3, static_cast<int>(2147484000U)},  // wraps
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.maximum);
        const PoolPtr pool(ZQRefThreadPool::Create(c.maximum, c.seconds));
        EXPECT_EQ(pool->m_nMaxThreads, c.expectedMaximum);
        EXPECT_EQ(pool->m_nMinThreads, c.expectedMinimum);
        EXPECT_EQ(pool->m_nIdleTimeout, c.expectedMs);
        EXPECT_EQ(pool->GetCapacity(), 0);
    }
}

TEST(ZQRefThreadPoolTest, GrowsToItsMaximumAndKeepsTheOrder) {
    const PoolPtr pool(ZQRefThreadPool::Create(2, 0));
    Block blocks[2];
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(pool->Start(Block::Run, &blocks[i]));
        blocks[i].entered.WaitFor(1);
        EXPECT_EQ(pool->GetCapacity(), i + 1);
    }
    struct Step {
        std::vector<Step*>* order;
        Gate* done;
    };
    std::vector<Step*> order;
    Gate done;
    std::vector<Step> steps(100, Step{&order, &done});
    for (Step& step : steps) {
        EXPECT_TRUE(pool->Start(
            [](void* p, long threadId) {
                EXPECT_EQ(threadId, ZQThread::GetCurrentThreadID());
                static_cast<Step*>(p)->order->push_back(static_cast<Step*>(p));
                static_cast<Step*>(p)->done->Arrive();
            },
            &step));
    }
    EXPECT_EQ(pool->GetCapacity(), 2);
    blocks[0].Finish();  // one worker: the tasks run one after the other
    done.WaitFor(100);
    for (size_t i = 0; i < steps.size(); ++i) { EXPECT_EQ(order[i], &steps[i]); }
    blocks[1].Finish();
}

TEST(ZQRefThreadPoolTest, PicksTheWorkerThatWasBusyLast) {
    const PoolPtr pool(ZQRefThreadPool::Create(3, 0));
    Block blocks[3];
    for (Block& block : blocks) {
        pool->Start(Block::Run, &block);
        block.entered.WaitFor(1);
    }
    for (Block& block : blocks) {
        block.Finish();
        SleepMs(20);  // they become idle in this order
    }
    struct Seen {
        Gate gate;
        long id = 0;
    } seen[2];
    const auto look = [](void* p, long threadId) {
        static_cast<Seen*>(p)->id = threadId;
        static_cast<Seen*>(p)->gate.Arrive();
    };
    for (Seen& s : seen) {
        pool->Start(look, &s);
        s.gate.WaitFor(1);
        SleepMs(20);
    }
    EXPECT_EQ(seen[0].id, seen[1].id);
    EXPECT_EQ(pool->GetCapacity(), 3);
}

TEST(ZQRefThreadPoolTest, SurplusWorkersEndAfterTheIdleTimeAndAreStartedAnew) {
    const PoolPtr pool(ZQRefThreadPool::Create(4, 1));  // at least 3 stay
    const auto occupyAll = [&pool] {
        Block blocks[4];
        for (Block& block : blocks) { pool->Start(Block::Run, &block); }
        for (Block& block : blocks) { block.entered.WaitFor(1); }
        EXPECT_EQ(pool->GetCapacity(), 4);
        for (Block& block : blocks) { block.Finish(); }
        SleepMs(20);
    };
    testing::internal::CaptureStdout();
    occupyAll();
    const auto start = std::chrono::steady_clock::now();
    while (pool->GetCapacity() > 3) { SleepMs(20); }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(950));
    SleepMs(1500);
    EXPECT_EQ(pool->GetCapacity(), 3);
    std::fflush(stdout);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.find("threadpool thread  "), 0U) << printed;
    EXPECT_EQ(printed.find(" idle exit.\n"), printed.size() - 12) << printed;
    occupyAll();
    EXPECT_EQ(pool->m_listThreads.size(), 4);  // the ended worker's object serves again
}

TEST(ZQRefThreadPoolTest, CleanTakesOneOwnersTasksInTheirOrder) {
    const PoolPtr pool(ZQRefThreadPool::Create(1, 0));
    Block block;
    pool->Start(Block::Run, &block);
    block.entered.WaitFor(1);
    const auto owner = [](long n) { return reinterpret_cast<ZQTaskPoolCore*>(n); };
    Gate gates[6];
    for (int i = 0; i < 6; ++i) { pool->Start(ArriveAt, &gates[i], owner(1 + i % 2)); }
    ZxxListInner<ZQRefThreadPool::_StruRefTask> taken;
    pool->Clean(owner(2), taken);
    std::vector<void*> args;
    for (auto it = taken.begin(); it != taken.end(); ++it) { args.push_back((*it).pArg); }
    EXPECT_EQ(args, (std::vector<void*>{&gates[1], &gates[3], &gates[5]}));
    pool->FreeCleanResult(taken);
    EXPECT_TRUE(taken.empty());
    pool->FreeCleanResult(taken);

    Gate last;
    pool->Start(ArriveAt, &last);
    block.Finish();
    last.WaitFor(1);
    for (int i = 0; i < 6; ++i) { EXPECT_EQ(gates[i].Arrivals(), 1 - i % 2); }
}

TEST(ZQRefThreadPoolTest, LastReferenceFinishesRunningTasksAndDropsQueuedOnes) {
    Block block;
    Gate queued;
    ZQRefThreadPool* pool = ZQRefThreadPool::Create(1, 0);
    pool->Start(Block::Run, &block);
    block.entered.WaitFor(1);
    pool->Start(ArriveAt, &queued);
    pool->Ref();
    pool->Unref();
    std::thread opener([&] {
        while (__atomic_load_n(&pool->m_bRunning, __ATOMIC_RELAXED)) { SleepMs(1); }
        EXPECT_FALSE(pool->Start(ArriveAt, &queued));
        block.Finish();
    });
    pool->Unref();
    opener.join();
    EXPECT_EQ(queued.Arrivals(), 0);
}

TEST(ZQRefThreadPoolTest, CachesKeepTheirBounds) {
    const PoolPtr pool(ZQRefThreadPool::Create(1, 0));
    ZxxListInner<ZQRefThreadPool::_StruRefTask> cache;
    for (int i = 0; i < 100000; ++i) {
        ZQRefThreadPool::FreeTaskNodeToCache(ZQRefThreadPool::NewTaskNode(nullptr), &cache);
    }
    EXPECT_EQ(cache.size(), 100000);
    ZQRefThreadPool::TaskNode* dropped = ZQRefThreadPool::NewTaskNode(nullptr);
    ZQRefThreadPool::FreeTaskNodeToCache(dropped, &cache);
    EXPECT_EQ(cache.size(), 100000);
    EXPECT_FALSE(cache.linked(dropped));
    ZQRefThreadPool::DelTaskNode(dropped, nullptr);  // dropped, not freed
    ZQRefThreadPool::TaskNode* first = cache.front_node();
    ZQRefThreadPool::TaskNode* last = cache.back_node();
    ZQRefThreadPool::TaskNode* taken = ZQRefThreadPool::CallocTaskNodeFromCache(&cache);
    EXPECT_EQ(taken, last);
    ZQRefThreadPool::FreeTaskNodeToCache(taken, &cache);
    EXPECT_EQ(cache.front_node(), taken);
    EXPECT_EQ(taken->pNext, first);

    for (int i = 0; i < 200001; ++i) { pool->FreeTPLTaskNode(ZQRefThreadPool::NewTPLTaskNode(nullptr)); }
    EXPECT_EQ(pool->m_listTPLCache.size(), 200000);
    ZQRefThreadPool::TPLTaskNode* node = pool->GetTPLTaskNode();
    EXPECT_EQ(pool->m_listTPLCache.size(), 199999);
    pool->FreeTPLTaskNode(node);
    EXPECT_EQ(pool->m_listTPLCache.front_node(), node);
}

TEST(ZQRefThreadPoolTest, SteadyStreamDoesNotAllocate) {
    const PoolPtr pool(ZQRefThreadPool::Create(2, 0));
    std::atomic<long> ran{0};
    const auto count = [](void* p, long) { static_cast<std::atomic<long>*>(p)->fetch_add(1); };
    const auto run = [&](long tasks) {
        const long until = ran.load() + tasks;
        for (long i = 0; i < tasks; ++i) {
            while (ran.load() + 500 < until - tasks + i) {
                std::this_thread::yield();  // no more queued than in the warm-up
            }
            pool->Start(count, &ran);
        }
        while (ran.load() < until) { std::this_thread::yield(); }
    };
    WarmUp(*pool, 2, 600);
    const long before = AllocationCount();
    run(100000);
    EXPECT_EQ(AllocationCount() - before, 0);
}

TEST(ZQRefThreadPoolTest, ProcessWidePoolIsMadeAnewAfterCleanup) {
    ZQRefThreadPool* const loaded = ZQRefThreadPool::Global();
    EXPECT_EQ(loaded->GetCapacity(), 0);
    EXPECT_EQ(loaded->m_nIdleTimeout, 120000);
    loaded->Ref();
    InThreads(4, [](int) { ZQThreadPoolGlobalCleanup(); });  // one of them releases
    EXPECT_EQ(loaded->m_nRefs, 1);
    ZQRefThreadPool* seen[4];
    InThreads(4, [&seen](int i) {
        ZQThreadPoolGlobalInit();
        seen[i] = ZQRefThreadPool::Global();
    });
    EXPECT_NE(seen[0], loaded);
    EXPECT_EQ(std::count(seen, seen + 4, seen[0]), 4);
    EXPECT_EQ(seen[0]->m_nRefs, 1);
    loaded->Unref();
}

TEST(ZQRefThreadPoolDeathTest, LastReferenceOnItsOwnWorkerIsReported) {
    ExpectCrash(
        [] {
            ZQRefThreadPool* pool = ZQRefThreadPool::Create(1, 0);
            pool->Start([](void* p, long) { static_cast<ZQRefThreadPool*>(p)->Unref(); }, pool);
            SleepMs(60000);
        },
        "_Abort: m_nCapacity == 0, Foundation/src/ZQThreadPool, [0-9]+\n");
}
