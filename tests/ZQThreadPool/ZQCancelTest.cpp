#include "support/Threads.h"
#include "support/WorkDir.h"

#include <functional>
#include <memory>
#include <sys/wait.h>

/// Runs @p wait on a thread, which is cancelled in it, and then lets what it waits for happen.
/// @return whether the thread ended by that
static bool Cancelled(
    const std::function<void()>& wait, const std::function<void()>& happen = [] {}) {
    pthread_t thread;
    const auto run = [](void* p) -> void* { return (*static_cast<const std::function<void()>*>(p))(), nullptr; };
    pthread_create(&thread, nullptr, run, const_cast<std::function<void()>*>(&wait));
    SleepMs(30);
    pthread_cancel(thread);
    SleepMs(30);
    happen();
    void* result = nullptr;
    pthread_join(thread, &result);
    return result == PTHREAD_CANCELED;
}

static void StayFor(ZQThread&, void* gate) { static_cast<Gate*>(gate)->WaitFor(1); }

TEST(ZQCancelTest, ThreadStaysUsableWhenAPauseAJoinOrARestartIsCancelled) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer does not know joins that are cancelled";
#endif
    Gate gate, paused;
    ZQThread thread;
    const auto pauseItself = [](ZQThread& self, void* p) { self.Suspend(), ArriveAt(p), self.TestExit(); };
    thread.Start(pauseItself, &paused);
    paused.WaitFor(1);
    pthread_cancel(static_cast<pthread_t>(thread.GetThreadID()));
    thread.Join();
    ASSERT_TRUE(thread.Start(StayFor, &gate));
    EXPECT_TRUE(Cancelled([&] { thread.Join(); }));
    EXPECT_TRUE(thread.IsRunning());
    thread.Stop();
    EXPECT_TRUE(Cancelled([&] { thread.Start(StayFor, &gate); }));
    std::thread joiner([&] { thread.Join(); });
    SleepMs(20);
    EXPECT_TRUE(Cancelled([&] { thread.Join(); }));  // which polls for the other
    gate.Arrive();
    joiner.join();
    EXPECT_EQ(thread.GetThreadID(), -1);
}

TEST(ZQCancelTest, PausesAndDestructorsEndFirst) {
    Block block;
    Gate opened, ended;
    ZQTaskPool pool(0, 1);
    pool.Init(
        nullptr, [](void* p, void*) { Block::Run(p); }, nullptr, nullptr);
    pool.Task(&block, false);
    block.entered.WaitFor(1);
    const auto pause = [&] { pool.Pause(false), ended.Arrive(), pthread_testcancel(); };
    EXPECT_TRUE(Cancelled(pause, [&] { block.opened.Arrive(); }));
    EXPECT_EQ(pool.Task(&block, false), -4);
    auto thread = std::make_unique<ZQThread>();
    thread->Start(StayFor, &opened);
    const auto destroy = [&] { thread.reset(), ended.Arrive(), pthread_testcancel(); };
    EXPECT_TRUE(Cancelled(destroy, [&] { opened.Arrive(); }));
    EXPECT_EQ(ended.Arrivals(), 2);
}

TEST(ZQCancelTest, ProcessMutexIsFreeAfterACancelledWait) {
    const WorkDir dir;
    int held[2];
    char byte;
    ASSERT_EQ(pipe(held), 0);
    const pid_t holder = fork();
    ZQProcessMutex mutex("key");
    if (holder == 0) {
        mutex.Lock();
        alarm(write(held[1], "", 1) == 1 ? 60 : 1);
        pause();
    }
    ASSERT_EQ(read(held[0], &byte, 1), 1);
    EXPECT_TRUE(Cancelled([&] { mutex.Lock(); }));
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}
