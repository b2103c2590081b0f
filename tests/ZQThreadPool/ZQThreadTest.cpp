#include "support/Threads.h"

/// Arrives again and again until told to stop.
static void Spin(ZQThread& thread, void* gate) {
    while (!thread.TestExit()) {
        ArriveAt(gate);
        std::this_thread::yield();
    }
}

TEST(ZQThreadTest, FunctionThatReturnsStaysStartedUntilJoined) {
    ZQThread thread;
    thread.Suspend();
    thread.Stop();
    thread.Join();
    EXPECT_FALSE(thread.IsPause() || thread.IsRunning() || thread.Resume());
    EXPECT_TRUE(thread.TestExit());
    EXPECT_EQ(thread.GetThreadID(), -1);
    EXPECT_EQ(thread.GetUserData(), nullptr);
    Gate gate;
    thread.SetUserData(&gate);
    const auto body = [](ZQThread& self, void* p) {
        EXPECT_EQ(self.GetThreadID(), ZQThread::GetCurrentThreadID());  // valid before the function runs
        EXPECT_EQ(self.GetUserData(), p);
        ArriveAt(p);
    };
    for (int run = 1; run <= 100; ++run) {
        ASSERT_TRUE(thread.Start(body, &gate));
        gate.WaitFor(run);
        EXPECT_TRUE(thread.IsRunning());
        EXPECT_FALSE(thread.Start(ArriveAt, &gate));
        thread.Join();
        EXPECT_FALSE(thread.IsRunning());
        EXPECT_EQ(thread.GetThreadID(), -1);
    }
}

TEST(ZQThreadTest, PausesResumesAndStops) {
    Gate rounds;
    ZQThread thread;
    ASSERT_TRUE(thread.Start(Spin, &rounds));
    rounds.WaitFor(1);
    thread.Suspend();
    EXPECT_TRUE(thread.IsPause() && thread.IsRunning());
    const int paused = rounds.Arrivals();
    SleepMs(150);
    EXPECT_LE(rounds.Arrivals(), paused + 1);  // at most the round that was under way goes on
    EXPECT_TRUE(thread.Resume());
    EXPECT_FALSE(thread.IsPause());
    rounds.WaitFor(paused + 2);
    thread.Suspend();
    thread.Stop();  // wakes a paused thread
    EXPECT_FALSE(thread.IsPause() || thread.IsRunning() || thread.Resume());
    thread.Join();
}

TEST(ZQThreadTest, RestartsAndJoinsWaitForTheStoppedRun) {
    Block run;
    const auto body = [](ZQThread& self, void* p) {
        Block& r = *static_cast<Block*>(p);
        EXPECT_EQ(r.entered.Arrivals(), r.left.Arrivals()) << "no two run at once";
        r.entered.Arrive();
        Await([&self] { return self.TestExit(); });
        SleepMs(20);
        r.left.Arrive();
    };
    ZQThread thread;
    for (int i = 1; i <= 20; ++i) {
        ASSERT_TRUE(thread.Start(body, &run));
        run.entered.WaitFor(i);
        thread.Stop();
        if (i % 2 == 1) {
            InThreads(4, [&](int) {
                thread.Join();
                EXPECT_EQ(run.left.Arrivals(), i);
            });
            EXPECT_EQ(thread.GetThreadID(), -1);
        }
    }
    Gate started;
    InThreads(4, [&](int) { thread.Start(body, &run) ? started.Arrive() : void(); });
    EXPECT_EQ(started.Arrivals(), 1);  // one of them does
}

TEST(ZQThreadTest, MayDeleteItselfAndCanBeDetached) {
    Gate gate;
    const auto deletesItself = [](ZQThread& self, void* p) {
        delete &self;
        ArriveAt(p);
    };
    for (int i = 1; i <= 50; ++i) {
        ASSERT_TRUE((new ZQThread)->Start(deletesItself, &gate));
        gate.WaitFor(i);
    }
    ZQThread thread;
    ASSERT_TRUE(thread.Start(ArriveAt, &gate));
    const long id = thread.GetThreadID();
    gate.WaitFor(51);
    thread.Detach();
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(thread.GetThreadID(), id);  // a detach leaves it
    EXPECT_TRUE(thread.Start(ArriveAt, &gate));
    gate.WaitFor(52);
}
