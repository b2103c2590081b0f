#include "ZQTime.h"

#include "support/Fatal.h"
#include "support/Gate.h"
#include "support/Threads.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

namespace {
using std::chrono::milliseconds;
using std::chrono::steady_clock;

void SleepMs(int ms) { std::this_thread::sleep_for(milliseconds(ms)); }

void ArriveAt(ZQTimer&, void* pGate) { static_cast<Gate*>(pGate)->Arrive(); }

/// Holds the timer module for a test.
struct Module {
    explicit Module(int nThreads = 0) { EXPECT_TRUE(ZQTimer::ModuleInit(nThreads)); }
    ~Module() { ZQTimer::ModuleUninit(); }
};

/// A callback that stays inside until told to leave, and watches that it is alone.
struct Slow {
    Gate entered;
    Gate opened;
    std::atomic<int> inside{0};
    std::atomic<bool> twice{false};
    std::atomic<bool> left{false};

    static void Run(ZQTimer&, void* p) {
        Slow& slow = *static_cast<Slow*>(p);
        if (slow.inside.fetch_add(1) != 0) {
            slow.twice = true;
        }
        slow.entered.Arrive();
        slow.opened.WaitFor(1);
        slow.left = true;
        slow.inside.fetch_sub(1);
    }
};
}  // namespace

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
    timer.Stop(true);
}

TEST(ZQTimerTest, RunsAtItsIntervalAtOnceOrAfterOne) {
    const Module module;
    for (const bool fireNow : {true, false}) {
        SCOPED_TRACE(fireNow);
        Gate gate;
        ZQTimer timer(0);
        ASSERT_TRUE(timer.Init(100, ArriveAt, &gate));
        const auto start = steady_clock::now();
        ASSERT_TRUE(timer.Start(fireNow));
        gate.WaitFor(3);
        // The tick has whole milliseconds, so an interval can be one short.
        EXPECT_GE(steady_clock::now() - start, milliseconds(fireNow ? 198 : 297));
    }
}

TEST(ZQTimerTest, SlowCallbackIsNeverEnteredTwice) {
    const Module module;
    Slow slow;
    ZQTimer timer(0);
    ASSERT_TRUE(timer.Init(0, Slow::Run, &slow));
    timer.Start(true);
    slow.entered.WaitFor(1);
    SleepMs(50);
    EXPECT_EQ(slow.entered.Arrivals(), 1);
    slow.opened.Arrive();
    slow.entered.WaitFor(3);  // at the scans after it has returned
    timer.Stop(true);
    EXPECT_FALSE(slow.twice);
}

TEST(ZQTimerTest, StopWaitsForARunningCallbackIfAsked) {
    const Module module;
    for (const bool wait : {true, false}) {
        SCOPED_TRACE(wait);
        Slow slow;
        ZQTimer timer(0);
        ASSERT_TRUE(timer.Init(0, Slow::Run, &slow));
        timer.Start(true);
        slow.entered.WaitFor(1);
        std::thread opener([&] {
            if (wait) {
                SleepMs(50);
            }
            slow.opened.Arrive();
        });
        if (!wait) {
            opener.join();
        }
        timer.Stop(wait);
        EXPECT_TRUE(!wait || slow.left);
        while (slow.inside != 0) { std::this_thread::yield(); }
        if (wait) {
            opener.join();
        }
        const int runs = slow.entered.Arrivals();
        SleepMs(30);
        EXPECT_EQ(slow.entered.Arrivals(), runs);
        SleepMs(wait ? 0 : 50);  // after Stop(false) the last steps of the run are the caller's care
    }
}

TEST(ZQTimerTest, StopTakesBackARunThatNoWorkerHasTaken) {
    const Module module(1);
    Slow slow;
    Gate never;
    ZQTimer blocker(0);
    ASSERT_TRUE(blocker.Init(1000000, Slow::Run, &slow));
    blocker.Start(true);
    slow.entered.WaitFor(1);  // the only worker is busy
    ZQTimer timer(1);
    ASSERT_TRUE(timer.Init(0, ArriveAt, &never));
    timer.Start(true);
    SleepMs(50);
    timer.Stop(true);  // does not wait for a worker
    slow.opened.Arrive();
    blocker.Stop(true);
    SleepMs(30);
    EXPECT_EQ(never.Arrivals(), 0);
}

TEST(ZQTimerTest, CallbackMayStopStartAndDestroyItsTimer) {
    const Module module;
    for (int i = 0; i < 20; ++i) {
        Gate gate;
        ZQTimer* timer = new ZQTimer(i);
        timer->Init(
            0,
            [](ZQTimer& self, void* p) {
                self.Stop(true);
                self.Start(true);
                self.Stop(false);
                delete &self;
                static_cast<Gate*>(p)->Arrive();
            },
            &gate);
        timer->Start(true);
        gate.WaitFor(1);
    }
}

TEST(ZQTimerTest, ModuleIsCountedAndTakenUpAgain) {
    Gate gate;
    ZQTimer timer(0);
    ASSERT_TRUE(timer.Init(0, ArriveAt, &gate));
    EXPECT_TRUE(timer.Start(true));  // before the module runs: nothing happens yet
    ZQTimer::ModuleInit(2);
    ZQTimer::ModuleInit(2);
    ZQTimer::ModuleUninit();
    gate.WaitFor(2);
    ZQTimer::ModuleUninit();
    const int runs = gate.Arrivals();
    ZQTimer::ModuleInit(2);
    SleepMs(30);
    EXPECT_EQ(gate.Arrivals(), runs);  // left over from an earlier life, so not run
    EXPECT_TRUE(timer.Start(true));    // it still counts as started
    timer.Stop(true);
    timer.Start(true);
    gate.WaitFor(runs + 2);
    timer.Stop(true);
    ZQTimer::ModuleUninit();

    // Several users at the same time: whoever holds the module finds it running.
    InThreads(4, [](int) {
        for (int i = 0; i < 15; ++i) {
            const Module module(2);
            Gate mine;
            ZQTimer own(i);
            own.Init(0, ArriveAt, &mine);
            own.Start(true);
            mine.WaitFor(1);
        }
    });
}

TEST(ZQTimerTest, ManyTimersStartedStoppedAndDestroyedByManyThreads) {
    const Module module(4);
    struct Watch {
        std::atomic<int> inside{0};
        std::atomic<long>* pRuns;
    };
    std::atomic<long> runs{0};
    const auto callback = [](ZQTimer& self, void* p) {
        Watch& watch = *static_cast<Watch*>(p);
        EXPECT_EQ(watch.inside.fetch_add(1), 0);
        watch.pRuns->fetch_add(1);
        if (self.GetTimerID() % 3 == 0) {
            self.Stop(true);
        }
        watch.inside.fetch_sub(1);
    };
    InThreads(4, [&](int seed) {
        std::minstd_rand random(static_cast<unsigned>(seed) + 1);
        Watch watches[8];
        std::unique_ptr<ZQTimer> timers[8];
        for (int step = 0; step < 2000; ++step) {
            const auto i = random() % 8;
            if (timers[i] == nullptr) {
                watches[i].pRuns = &runs;
                timers[i] = std::make_unique<ZQTimer>(step);
                timers[i]->Init(static_cast<int>(random() % 3), callback, &watches[i]);
            }
            switch (random() % 8) {
            case 0: timers[i]->Stop(true); break;
            case 1:
                // Started, so that this one's destructor is the one that waits.
                timers[i]->Start(true);
                if (timers[i]->GetTimerID() % 3 != 0) {
                    timers[i].reset();
                }
                break;
            default: timers[i]->Start(random() % 2 == 0); break;
            }
            if (step % 50 == 0) {
                SleepMs(2);
            }
        }
        for (auto& timer : timers) {
            while (timer != nullptr && !timer->Start(false)) {}
            timer.reset();
        }
        SleepMs(20);  // those that stopped themselves just before may still be in their last steps
    });
    EXPECT_GT(runs, 0);
}

TEST(ZQTimerDeathTest, OneUninitTooManyIsReported) {
    ExpectCrash(
        [] {
            ZQTimer::ModuleInit(1);
            ZQTimer::ModuleUninit();
            ZQTimer::ModuleUninit();
        },
        "_Abort: v>=0, Foundation/src/ZQTime, 1295\n");
    ExpectCrash(
        [] {
            ZQTimer timer(0);
            timer.Init(
                0, [](ZQTimer& self, void*) { self.RunCallback(); }, nullptr);
            timer.RunCallback();
        },
        "_Abort: 1==ZQAtomicInc\\(p->_nOnlyOne\\), Foundation/src/ZQTime, 1532\n");
}
