#include "support/Fatal.h"
#include "support/Threads.h"

#include <algorithm>
#include <memory>
#include <random>

struct TimerModule {
    explicit TimerModule(int nThreads = 0) { EXPECT_TRUE(ZQTimer::ModuleInit(nThreads)); }
    ~TimerModule() { ZQTimer::ModuleUninit(); }
};

/// A timer that is started.
struct Started : ZQTimer {
    Started(int intervalMs, Callback callback, void* user, bool fireNow = true) : ZQTimer(0) {
        EXPECT_TRUE(Init(intervalMs, callback, user) && Start(fireNow));
    }
};

TEST(ZQTimerTest, InitAndStartTellWhatTheyTake) {
    ZQTimer timer(42);
    EXPECT_EQ(timer.GetTimerID(), 42);
    EXPECT_FALSE(timer.Start(true));
    EXPECT_FALSE(timer.Init(10, nullptr, nullptr));
    EXPECT_FALSE(timer.Init(-1, ArriveAt, nullptr));
    EXPECT_TRUE(timer.Init(0, ArriveAt, nullptr));
    EXPECT_FALSE(timer.Init(0, ArriveAt, nullptr));
    EXPECT_TRUE(timer.Start(false));
    EXPECT_TRUE(timer.Start(true));
    timer.Stop(true);
}

TEST(ZQTimerTest, RunsAtItsIntervalAtOnceOrAfterOne) {
    const TimerModule module;
    for (const bool fireNow : {true, false}) {
        Gate gate;
        const auto start = std::chrono::steady_clock::now();
        const Started timer(100, ArriveAt, &gate, fireNow);
        gate.WaitFor(3);
        // The tick has whole milliseconds, so an interval can be one short.
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(fireNow ? 198 : 297));
    }
    const auto arriveLate = [](ZQTimer&, void* gate) {
        SleepMs(20);
        ArriveAt(gate);
    };
    Gate gate;
    const Started slow(1, arriveLate, &gate);
    gate.WaitFor(3);  // it stays due while it runs, also if it is the only one
}

TEST(ZQTimerTest, StopWaitsForARunningCallbackIfAskedAndNoneIsEnteredTwice) {
    const TimerModule module;
    for (const bool wait : {true, false}) {
        SCOPED_TRACE(wait);
        Block block;
        Gate stopped;
        Started timer(0, Block::Run, &block);
        block.entered.WaitFor(1);
        SleepMs(50);
        EXPECT_EQ(block.entered.Arrivals(), 1);
        std::thread opener([&] {
            wait ? SleepMs(50) : stopped.WaitFor(1);
            block.opened.Arrive();
        });
        timer.Stop(wait);
        EXPECT_EQ(block.left.Arrivals(), wait ? 1 : 0);
        stopped.Arrive();
        opener.join();
        SleepMs(50);  // after Stop(false) the last steps of the run are the caller's care
        EXPECT_EQ(block.left.Arrivals(), 1);
        EXPECT_EQ(block.entered.Arrivals(), 1);
    }
}

TEST(ZQTimerTest, StopTakesBackARunThatNoWorkerHasTaken) {
    const TimerModule module(1);
    Block block;
    Gate never;
    Started blocker(1000000, Block::Run, &block);
    block.entered.WaitFor(1);  // the only worker is busy
    Started timer(0, ArriveAt, &never);
    SleepMs(50);
    timer.Stop(true);  // does not wait for a worker
    block.Finish();
    SleepMs(30);
    EXPECT_EQ(never.Arrivals(), 0);
}

TEST(ZQTimerTest, TimersThatAreDueAtOnceRunInTheOrderOfTheirAddresses) {
    struct Runs {
        std::vector<const ZQTimer*> timers;
        Gate gate;
        static void Add(ZQTimer& timer, void* runs) {
            static_cast<Runs*>(runs)->timers.push_back(&timer);
            ArriveAt(&static_cast<Runs*>(runs)->gate);
        }
    };
    constexpr std::size_t Due = 100;
    for (const std::size_t dormant : {0UL, 100UL, 900UL}) {
        Runs runs;
        std::vector<std::unique_ptr<ZQTimer>> timers(Due + dormant);
        for (auto& timer : timers) { timer = std::make_unique<ZQTimer>(0); }
        std::shuffle(timers.begin(), timers.end(), std::mt19937(1));
        std::vector<const ZQTimer*> due;
        for (std::size_t i = 0; i < timers.size(); ++i) {
            timers[i]->Init(5000, Runs::Add, &runs);
            timers[i]->Start(i < Due);
            due.insert(due.end(), i < Due ? 1 : 0, timers[i].get());
        }
        std::sort(due.begin(), due.end(), std::less<>());
        const TimerModule module(1);  // its first look finds all, and one worker runs them
        runs.gate.WaitFor(Due);
        EXPECT_EQ(runs.timers, due);
    }
}

TEST(ZQTimerTest, CallbackMayStopStartAndDestroyItsTimer) {
    const TimerModule module;
    const auto destroy = [](ZQTimer& self, void* gate) {
        self.Stop(true);
        self.Start(true);
        self.Stop(false);
        delete static_cast<Started*>(&self);
        ArriveAt(gate);
    };
    for (int i = 0; i < 20; ++i) {
        Gate gate;
        new Started(0, destroy, &gate);
        gate.WaitFor(1);
    }
}

TEST(ZQTimerTest, ModuleIsCountedAndTakenUpAgain) {
    Gate gate;
    Started timer(0, ArriveAt, &gate);  // before the module runs: nothing happens yet
    ZQTimer::ModuleInit(2);
    ZQTimer::ModuleInit(2);
    ZQTimer::ModuleUninit();
    gate.WaitFor(2);
    ZQTimer::ModuleUninit();
    const int runs = gate.Arrivals();
    const TimerModule module(2);
    SleepMs(30);
    EXPECT_EQ(gate.Arrivals(), runs);  // left over from an earlier life, so not run
    EXPECT_TRUE(timer.Start(true));    // it still counts as started
    timer.Stop(true);
    timer.Start(true);
    gate.WaitFor(runs + 2);
    timer.Stop(true);
}

TEST(ZQTimerTest, WhoeverHoldsTheModuleFindsItRunning) {
    InThreads(4, [](int) {
        for (int i = 0; i < 15; ++i) {
            const TimerModule module(2);
            Gate gate;
            const Started timer(0, ArriveAt, &gate);
            gate.WaitFor(1);
        }
    });
}

TEST(ZQTimerTest, ManyTimersStartedStoppedAndDestroyedByManyThreads) {
    const TimerModule module(4);
    struct Watch {
        std::atomic<int> inside{0}, runs{0};
    };
    const auto callback = [](ZQTimer&, void* p) {
        Watch& watch = *static_cast<Watch*>(p);
        EXPECT_EQ(watch.inside.fetch_add(1), 0);
        ++watch.runs;
        --watch.inside;
    };
    InThreads(4, [callback](int seed) {
        std::minstd_rand random(static_cast<unsigned>(seed) + 1);
        Watch watches[8];
        std::unique_ptr<Started> timers[8];
        for (int step = 0; step < 2000; ++step) {
            const auto i = random() % 8, what = random() % 8;
            if (timers[i] == nullptr || what == 0) {
                timers[i].reset();
                EXPECT_EQ(watches[i].inside, 0);
                timers[i] = std::make_unique<Started>(static_cast<int>(random() % 3), callback, &watches[i]);
            } else if (what == 1) {
                timers[i]->Stop(true);
                EXPECT_EQ(watches[i].inside, 0);
            } else {
                timers[i]->Start(what % 2 == 0);
            }
            SleepMs(step % 50 == 0 ? 2 : 0);
        }
        for (auto& timer : timers) { timer.reset(); }
        for (const Watch& watch : watches) { EXPECT_GT(watch.runs, 0); }
    });
}

TEST(ZQTimerDeathTest, OneUninitTooManyIsReported) {
    const auto uninitTwice = [] {
        { const TimerModule module(1); }
        ZQTimer::ModuleUninit();
    };
    ExpectCrash(uninitTwice, "_Abort: v>=0, Foundation/src/ZQTime, 1295\n");
    const auto runInside = [] {
        Started(
            0, [](ZQTimer& self, void*) { self.RunCallback(); }, nullptr)
            .RunCallback();
    };
    ExpectCrash(runInside, "_Abort: 1==ZQAtomicInc\\(p->_nOnlyOne\\), Foundation/src/ZQTime, 1532\n");
}
