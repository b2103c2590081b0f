#include "ZQMutex.h"

#include "support/Gate.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(ZQCondTest, WaitTimeoutKeepsItsLimit) {
    const struct {
        const char* name;
        int ms;
        int atLeast;
    } cases[] = {{"now", 0, 0}, {"the past", -1000, 0}, {"below a second", 30, 30}, {"above a second", 1100, 1100}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ZQMutex mutex;
        ZQCond cond;
        ZQAutoMutex lock(mutex);
        const auto start = steady_clock::now();
        EXPECT_EQ(cond.WaitTimeout(mutex, c.ms), ZQCond::CondTimedOut);
        EXPECT_GE(steady_clock::now() - start, milliseconds(c.atLeast));
        std::thread([&mutex] { EXPECT_FALSE(mutex.TryLock()); }).join();
    }
}

TEST(ZQCondTest, LimitBeforeTheCurrentSecondIsRefused) {
    ZQMutex mutex;
    ZQCond cond;
    ZQAutoMutex lock(mutex);
    // The platform takes it in the last millisecond of a second.
    std::vector<ZQCond::CondErrno> results;
    for (int i = 0; i < 3; ++i) { results.push_back(cond.WaitTimeout(mutex, -999)); }
    EXPECT_NE(std::find(results.begin(), results.end(), ZQCond::CondFailed), results.end());
    std::thread([&mutex] { EXPECT_FALSE(mutex.TryLock()); }).join();
}

TEST(ZQCondTest, WakesOneOrAllAndLeavesTheMutexFreeMeanwhile) {
    ZQMutex mutex;
    ZQCond cond;
    Gate waiting;
    Gate woken;
    int tokens = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&, i] {
            ZQAutoMutex lock(mutex);
            waiting.Arrive();
            while (tokens == 0) {
                if (i == 0) {
                    cond.Wait(mutex);
                } else {
                    EXPECT_NE(cond.WaitTimeout(mutex, 60000), ZQCond::CondFailed);
                }
            }
            --tokens;
            woken.Arrive();
        });
    }
    waiting.WaitFor(3);
    {
        ZQAutoMutex lock(mutex);  // the waiters hold it no longer, and the mark says so
        tokens = 1;
        cond.Broadcast();
    }
    woken.WaitFor(1);
    for (int i = 2; i <= 3; ++i) {
        ZQAutoMutex lock(mutex);
        ++tokens;
        cond.Signal();
    }
    woken.WaitFor(3);
    for (auto& thread : threads) { thread.join(); }
}

TEST(ZQCondTest, CancelledWaiterLeavesTheMutexUsable) {
    struct Shared {
        ZQMutex mutex;
        ZQCond cond;
        Gate waiting;
    } shared;
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* p) -> void* {
                      Shared& s = *static_cast<Shared*>(p);
                      ZQAutoMutex lock(s.mutex);
                      s.waiting.Arrive();
                      for (;;) { s.cond.WaitTimeout(s.mutex, 1000); }
                  },
                  &shared),
              0);
    shared.waiting.WaitFor(1);
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(shared.mutex.TryLock());  // ends the process if the mark were wrong
    shared.mutex.Unlock();
}
