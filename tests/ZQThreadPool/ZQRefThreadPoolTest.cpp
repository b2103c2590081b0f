#include "support/Fatal.h"
#include "support/Threads.h"

#include "ZQOSApi.h"

#include <algorithm>
#include <memory>

/// A pool that goes with the pointer.
static std::shared_ptr<ZQRefThreadPool> MakePool(int nMaxThreads, int nIdleSeconds) {
    return {ZQRefThreadPool::Create(nMaxThreads, nIdleSeconds), [](ZQRefThreadPool* pool) { pool->Unref(); }};
}

TEST(ZQRefThreadPoolTest, AutomaticFigures) {
    const int automatic = std::clamp(2 * ZQGetCPUProcessorNumber() + 1, 16, 64);
    const int wrapped = static_cast<int>(2147484000U);
    const std::tuple<int, int, int, int> cases[] = {{0, 120, automatic, 120000},
                                                    {-5, 0, automatic, 0},
                                                    {1, 1, 1, 1000},
                                                    {200, -1, 200, -1000},
                                                    {5, 2147484, 5, wrapped}};
    for (const auto& [maximum, seconds, most, milliseconds] : cases) {
        SCOPED_TRACE(maximum);
        const auto pool = MakePool(maximum, seconds);
        EXPECT_EQ(pool->m_nMaxThreads, most);
        EXPECT_EQ(pool->m_nMinThreads, most / 2 + 1);
        EXPECT_EQ(pool->m_nIdleTimeout, milliseconds);
    }
}

TEST(ZQRefThreadPoolTest, GrowsToItsMaximumAndKeepsTheOrderAndTheBusiestWorker) {
    const auto pool = MakePool(3, 0);
    Block blocks[3];
    for (Block& block : blocks) {
        EXPECT_EQ(pool->GetCapacity(), &block - blocks);
        block.Occupy(*pool);
    }
    Gate done;
    std::vector<Turn> turns(102, Turn{&done});
    for (size_t i = 0; i < 100; ++i) { EXPECT_TRUE(pool->Start(Turn::Take, &turns[i])); }
    for (Block& block : blocks) {
        block.Finish();
        done.WaitFor(100);  // one worker: the tasks run one after the other
        SleepMs(20);        // and the workers become idle one after the other
    }
    for (int i = 100; i < 102; ++i) {
        pool->Start(Turn::Take, &turns[static_cast<size_t>(i)]);
        done.WaitFor(i + 1);
        SleepMs(20);
    }
    ExpectOrder(turns);
    EXPECT_EQ(turns[100].threadId, turns[101].threadId);
    EXPECT_EQ(pool->GetCapacity(), 3);
}

TEST(ZQRefThreadPoolTest, SurplusWorkersEndAfterTheIdleTimeAndAreStartedAnew) {
    const auto pool = MakePool(4, 1);  // at least 3 stay
    testing::internal::CaptureStdout();
    WarmUp(*pool, 4, 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(pool->GetCapacity(), 4);
    while (pool->GetCapacity() > 3) { SleepMs(20); }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(950));
    SleepMs(1500);
    EXPECT_EQ(pool->GetCapacity(), 3);
    std::fflush(stdout);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.find("threadpool thread  "), 0U) << printed;
    EXPECT_EQ(printed.find(" idle exit.\n"), printed.size() - 12) << printed;
    WarmUp(*pool, 4, 0);
    EXPECT_EQ(pool->m_listThreads.size(), 4);  // the ended worker's object serves again
}

TEST(ZQRefThreadPoolTest, CleanTakesOneOwnersTasksAndTheLastReferenceDropsTheRest) {
    ZQRefThreadPool* pool = ZQRefThreadPool::Create(1, 0);
    Block block;
    block.Occupy(*pool);
    ZQTaskPoolCore* const owners[2] = {nullptr, reinterpret_cast<ZQTaskPoolCore*>(2)};
    Gate gates[6];
    for (int i = 0; i < 6; ++i) { pool->Start(ArriveAt, &gates[i], owners[i % 2]); }
    ZxxListInner<ZQRefThreadPool::_StruRefTask> taken;
    pool->Clean(owners[1], taken);
    std::vector<void*> args;
    for (auto it = taken.begin(); it != taken.end(); ++it) { args.push_back((*it).pArg); }
    EXPECT_EQ(args, (std::vector<void*>{&gates[1], &gates[3], &gates[5]}));
    EXPECT_EQ(pool->m_listTasks.size(), 3);
    pool->FreeCleanResult(taken);
    EXPECT_TRUE(taken.empty());
    std::thread opener([&] {
        while (__atomic_load_n(&pool->m_bRunning, __ATOMIC_RELAXED)) { SleepMs(1); }
        EXPECT_FALSE(pool->Start(ArriveAt, &gates[0]));
        block.Finish();
    });
    pool->Unref();
    EXPECT_EQ(block.left.Arrivals(), 1);
    opener.join();
    for (const Gate& gate : gates) { EXPECT_EQ(gate.Arrivals(), 0); }
}

TEST(ZQRefThreadPoolTest, CachesKeepTheirBounds) {
    using Pool = ZQRefThreadPool;
    const auto pool = MakePool(1, 0);
    ZxxListInner<Pool::_StruRefTask> cache;
    for (int i = 0; i < 100000; ++i) { Pool::FreeTaskNodeToCache(Pool::NewTaskNode(nullptr), &cache); }
    Pool::TaskNode* dropped = Pool::NewTaskNode(nullptr);
    Pool::FreeTaskNodeToCache(dropped, &cache);
    EXPECT_EQ(cache.size(), 100000);
    EXPECT_FALSE(cache.linked(dropped));
    Pool::DelTaskNode(dropped, nullptr);  // dropped, not freed
    Pool::TaskNode* const last = cache.back_node();
    EXPECT_EQ(Pool::CallocTaskNodeFromCache(&cache), last);
    Pool::FreeTaskNodeToCache(last, &cache);
    EXPECT_EQ(cache.front_node(), last);
    for (int i = 0; i < 200001; ++i) { pool->FreeTPLTaskNode(Pool::NewTPLTaskNode(nullptr)); }
    EXPECT_EQ(pool->m_listTPLCache.size(), 200000);
    pool->FreeTPLTaskNode(pool->GetTPLTaskNode());
    EXPECT_EQ(pool->m_listTPLCache.size(), 200000);
}

TEST(ZQRefThreadPoolTest, SteadyStreamDoesNotAllocate) {
    const auto pool = MakePool(2, 0);
    WarmUp(*pool, 2, 600);
    EXPECT_EQ(AllocationsOfStream([&](void* gate) { return pool->Start(ArriveAt, gate); }), 0);
}

TEST(ZQRefThreadPoolTest, ProcessWidePoolIsMadeAnewAfterCleanup) {
    ZQRefThreadPool* const loaded = ZQRefThreadPool::Global();
    EXPECT_EQ(loaded->GetCapacity(), 0);
    EXPECT_EQ(loaded->m_nIdleTimeout, 120000);
    Gate gate;
    ZQTaskPool pool(0, 1);
    ASSERT_EQ(pool.Init(nullptr, ArriveAt, nullptr, nullptr), 0);
    EXPECT_EQ(loaded->m_nRefs, 2);
    InThreads(4, [](int) { ZQThreadPoolGlobalCleanup(); });  // one of them releases
    EXPECT_EQ(loaded->m_nRefs, 1);
    pool.Task(&gate, false);  // the task pool keeps it alive
    gate.WaitFor(1);
    ZQRefThreadPool* seen[4];
    InThreads(4, [&seen](int i) {
        ZQThreadPoolGlobalInit();
        seen[i] = ZQRefThreadPool::Global();
    });
    EXPECT_NE(seen[0], loaded);
    EXPECT_EQ(std::count(seen, seen + 4, seen[0]), 4);
    EXPECT_EQ(seen[0]->m_nRefs, 1);
}

TEST(ZQRefThreadPoolDeathTest, LastReferenceOnItsOwnWorkerIsReported) {
    const auto unrefInside = [] {
        ZQRefThreadPool* pool = ZQRefThreadPool::Create(1, 0);
        pool->Start([](void* p, long) { static_cast<ZQRefThreadPool*>(p)->Unref(); }, pool);
        SleepMs(60000);
    };
    ExpectCrash(unrefInside, "_Abort: m_nCapacity == 0, Foundation/src/ZQThreadPool, [0-9]+\n");
}
