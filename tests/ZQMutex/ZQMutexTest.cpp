#include "ZQMutex.h"

#include "support/Fatal.h"

#include <gtest/gtest.h>
#include <thread>

TEST(ZQMutexTest, TryLockTellsWhoHoldsIt)
{
    ZQMutex mutex;
    ASSERT_TRUE(mutex.TryLock());
    std::thread([&mutex] { EXPECT_FALSE(mutex.TryLock()); }).join();
    mutex.Unlock();
    std::thread([&mutex] { ZQAutoMutex lock(mutex); }).join();
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}

TEST(ZQMutexTest, KeepsIncrementsOfManyThreads)
{
    constexpr int Threads = 4;
    constexpr int Rounds = 20000;
    ZQMutex mutex;
    long counter = 0;
    std::thread threads[Threads];
    for (auto& thread : threads)
    {
        thread = std::thread(
            [&]
            {
                for (int i = 0; i < Rounds; ++i)
                {
                    ZQAutoMutex lock(mutex);
                    ++counter;
                }
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(counter, static_cast<long>(Threads) * Rounds);
}

TEST(ZQMutexDeathTest, MisuseIsReported)
{
    ZQMutex mutex;
    ExpectAbort([&mutex] { mutex.Unlock(); }, "^abort Foundation/src/ZQMutex:[0-9]+ expre: 0 != m_nLocked, "
                                              "ZQMutex::Unlock unlock no locked \n");
}
