#include "support/Threads.h"

#include <memory>
#include <sys/wait.h>

#if defined(__SANITIZE_THREAD__)  // it waits a second at each exit, and mistakes a child's threads for the parent's
constexpr int Forks = 12;
#else
constexpr int Forks = 1000;
#endif
constexpr bool ChildrenMayHaveThreads = Forks == 1000;

/// Everything that has threads, and all of it at work.
struct Busy {
    Gate gate;
    ZQRefThreadPool* own = ZQRefThreadPool::Create(3, 0);
    std::unique_ptr<ZQTaskPool> pools[3];
    std::list<ZQTimer> timers;
    ZQThreadPool simple{1, 2, 0};
    ZQThread thread;

    Busy() {
        for (auto& pool : pools) {
            pool = std::make_unique<ZQTaskPool>(100, 2);
            pool->Init(&pool == pools ? own : nullptr, ArriveAt, nullptr, nullptr);
        }
        ZQTimer::ModuleInit(2);
        for (int i = 0; i < 20; ++i) {
            timers.emplace_back(i);
            timers.back().Init(0, ArriveAt, &gate);
            timers.back().Start(true);
        }
        thread.Start([](ZQThread& self, void* p) { static_cast<Busy*>(p)->Feed(self); }, this);
    }
    void Feed(ZQThread& self) {
        while (!self.TestExit()) {
            for (auto& pool : pools) { pool->Task(&gate, false); }
            if (simple.GetWaits() < 100) {
                simple.Start(ArriveAt, &gate);
            }
        }
    }
    ~Busy() {
        thread.Stop();
        thread.Join();
        ZQTimer::ModuleUninit();
        for (auto& pool : pools) { pool.reset(); }
        own->Unref();
    }
    /// In a child: what the parent has made starts over.
    bool WorksAnew(const ZQRefThreadPool* global) {
        Gate fresh;
        bool works = ZQRefThreadPool::Global() != global && own->GetCapacity() == 0 && ZQTimer::ModuleInit(1);
        for (auto& pool : pools) {
            works &= pool->Task(&fresh, false) == -2 &&
                     pool->Init(&pool == pools ? own : nullptr, ArriveAt, nullptr, nullptr) == 0;
            works &= pool->Task(&fresh, false) == 0;
        }
        works &= timers.back().Start(true) && simple.Start(ArriveAt, &fresh) && thread.Start(ArriveAt, &fresh);
        fresh.WaitFor(5);
        const int runs = gate.Arrivals();
        gate.WaitFor(runs + 1);
        thread.Join();
        ZQTimer::ModuleUninit();
        return works;
    }
};

TEST(ZQForkTest, ChildrenOfABusyProcessEndAndStartOver) {
#if defined(ZQ_EMULATED) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "emulator and sanitizer lose locks of their own in the children of a busy process";
#endif
    auto busy = std::make_unique<Busy>();
    ZQRefThreadPool* const global = ZQRefThreadPool::Global();
    std::fflush(stdout);
    for (int i = 0; i < Forks && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            const bool works = i % 4 != 1 || !ChildrenMayHaveThreads || busy->WorksAnew(global);
            if (i % 4 != 0) {
                busy.reset();
            }
            std::exit(works ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
}
