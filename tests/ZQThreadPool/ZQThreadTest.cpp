#include "ZQThreadPool.h"

#include "support/Gate.h"
#include "support/Threads.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace {
/// Runs until told to stop, counting its rounds.
void Spin(ZQThread& thread, void* pRounds) {
    while (!thread.TestExit()) {
        static_cast<std::atomic<long>*>(pRounds)->fetch_add(1);
        std::this_thread::yield();
    }
}

void ArriveAndReturn(ZQThread&, void* pGate) { static_cast<Gate*>(pGate)->Arrive(); }

void WaitUntilAbove(const std::atomic<long>& value, long bound) {
    while (value.load() <= bound) { std::this_thread::yield(); }
}
}  // namespace

TEST(ZQThreadTest, IdleObjectHasNoThread) {
    ZQThread thread;
    thread.Suspend();
    thread.Stop();
    thread.Join();
    EXPECT_FALSE(thread.IsPause());
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_FALSE(thread.Resume());
    EXPECT_TRUE(thread.TestExit());
    EXPECT_EQ(thread.GetThreadID(), -1);
    EXPECT_EQ(thread.GetUserData(), nullptr);
    thread.SetUserData(&thread);
    EXPECT_EQ(thread.GetUserData(), &thread);
}

TEST(ZQThreadTest, FunctionThatReturnsStaysStartedUntilJoined) {
    struct Run {
        Gate gate;
        long seen = 0;
        long own = 0;
    } run;
    ZQThread thread;
    ASSERT_TRUE(thread.Start(
        [](ZQThread& self, void* p) {
            Run& r = *static_cast<Run*>(p);
            r.seen = self.GetThreadID();  // valid before the function runs
            r.own = ZQThread::GetCurrentThreadID();
            r.gate.Arrive();
        },
        &run));
    run.gate.WaitFor(1);
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_FALSE(thread.Start(ArriveAndReturn, &run.gate));
    thread.Join();
    EXPECT_EQ(run.seen, run.own);
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(thread.GetThreadID(), -1);
    EXPECT_TRUE(thread.Start(ArriveAndReturn, &run.gate));
    run.gate.WaitFor(2);
}

TEST(ZQThreadTest, PausesResumesAndStops) {
    std::atomic<long> rounds{0};
    ZQThread thread;
    ASSERT_TRUE(thread.Start(Spin, &rounds));
    WaitUntilAbove(rounds, 0);

    thread.Suspend();
    EXPECT_TRUE(thread.IsPause());
    EXPECT_TRUE(thread.IsRunning());
    // At most the round that was under way goes on.
    const long paused = rounds.load();
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_LE(rounds.load(), paused + 1);

    EXPECT_TRUE(thread.Resume());
    EXPECT_FALSE(thread.IsPause());
    WaitUntilAbove(rounds, paused + 1);

    thread.Suspend();
    thread.Stop();  // wakes a paused thread
    EXPECT_FALSE(thread.IsPause());
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_FALSE(thread.Resume());
    thread.Join();
}

TEST(ZQThreadTest, RestartWaitsForTheStoppedRun) {
    struct Run {
        Gate entered;
        std::atomic<int> running{0};
        std::atomic<bool> overlap{false};
    } run;
    const auto body = [](ZQThread& self, void* p) {
        Run& r = *static_cast<Run*>(p);
        if (r.running.fetch_add(1) != 0) {
            r.overlap = true;
        }
        r.entered.Arrive();
        while (!self.TestExit()) { std::this_thread::yield(); }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        r.running.fetch_sub(1);
    };
    ZQThread thread;
    for (int i = 1; i <= 5; ++i) {
        ASSERT_TRUE(thread.Start(body, &run));
        run.entered.WaitFor(i);
        thread.Stop();
    }
    // Several restart at once: one of them does, and nothing runs twice.
    std::atomic<int> started{0};
    InThreads(4, [&](int) { started += thread.Start(body, &run) ? 1 : 0; });
    EXPECT_EQ(started, 1);
    thread.Stop();
    thread.Join();
    EXPECT_FALSE(run.overlap);
    EXPECT_EQ(run.running, 0);
}

TEST(ZQThreadTest, ConcurrentJoinsAllReturnAfterTheEnd) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<long> rounds{0};
        std::atomic<bool> stopped{false};
        ZQThread thread;
        ASSERT_TRUE(thread.Start(Spin, &rounds));
        WaitUntilAbove(rounds, 0);
        InThreads(4, [&](int i) {
            if (i == 0) {
                stopped = true;
                thread.Stop();
            }
            thread.Join();
            EXPECT_TRUE(stopped);
        });
        EXPECT_EQ(thread.GetThreadID(), -1);
    }
}

TEST(ZQThreadTest, MayDeleteItselfAndCanBeDetached) {
    Gate gate;
    const auto deletesItself = [](ZQThread& self, void* p) {
        delete &self;
        static_cast<Gate*>(p)->Arrive();
    };
    for (int i = 1; i <= 50; ++i) {
        ZQThread* pThread = new ZQThread;
        ASSERT_TRUE(pThread->Start(deletesItself, &gate));
        gate.WaitFor(i);
    }
    ZQThread thread;
    ASSERT_TRUE(thread.Start(ArriveAndReturn, &gate));
    const long id = thread.GetThreadID();
    gate.WaitFor(51);
    thread.Detach();
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(thread.GetThreadID(), id);  // a detach leaves it
    EXPECT_TRUE(thread.Start(ArriveAndReturn, &gate));
    gate.WaitFor(52);
}
