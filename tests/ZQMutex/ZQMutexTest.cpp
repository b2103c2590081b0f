#include "ZQMutex.h"

#include "support/Fatal.h"
#include "support/Threads.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {
/// The mark that a mutex keeps, its first field; a mark that lies stands for a wait that went around ZQCond.
int& MarkOf(ZQMutex& mutex) { return *reinterpret_cast<int*>(&mutex); }

std::string MutexReport(const std::string& line, const std::string& texts) {
    return "^abort Foundation/src/ZQMutex:" + line + " expre: " + texts + " \n";
}
}  // namespace

TEST(ZQMutexTest, TryLockTellsWhetherItIsHeld) {
    ZQMutex mutex;
    ASSERT_TRUE(mutex.TryLock());
    std::thread([&mutex] { EXPECT_FALSE(mutex.TryLock()); }).join();
    EXPECT_EQ(MarkOf(mutex), 1);
    mutex.Unlock();
    EXPECT_EQ(MarkOf(mutex), 0);
    std::thread([&mutex] { ZQAutoMutex lock(mutex); }).join();
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}

TEST(ZQMutexTest, KeepsIncrementsOfManyThreads) {
    constexpr int Rounds = 20000;
    ZQMutex mutex;
    long counter = 0;
    InThreads(4, [&](int) {
        for (int i = 0; i < Rounds; ++i) {
            ZQAutoMutex lock(mutex);
            ++counter;
        }
    });
    EXPECT_EQ(counter, 4L * Rounds);
}

TEST(ZQMutexRWTest, ReadersShareAndWritersDoNot) {
    ZQMutexRW lock;
    long value = 0;
    {
        ZQAutoReadLock first(lock);
        std::thread([&lock] { ZQAutoReadLock second(lock); }).join();
    }
    InThreads(4, [&](int) {
        for (int i = 0; i < 5000; ++i) {
            lock.LockRead();
            const long seen = value;
            lock.UnlockRead();
            ZQAutoWriteLock writer(lock);
            EXPECT_LE(seen, value);
            ++value;
        }
    });
    EXPECT_EQ(value, 20000);
    lock.LockWrite();
    lock.Unlock();
    lock.LockRead();
    lock.Unlock();
}

TEST(ZQMutexDeathTest, MisuseIsReported) {
    const struct {
        const char* name;
        void (*action)();
        std::string report;
    } cases[] = {
        {"unlock of a free mutex", [] { ZQMutex().Unlock(); },
         MutexReport("[0-9]+", "0 != m_nLocked, ZQMutex::Unlock unlock no locked")},
        {"lock with a mark that lies",
         [] {
             ZQMutex mutex;
             MarkOf(mutex) = 1;
             mutex.Lock();
         },
         MutexReport("55", "m_nLocked==0, ZQMutex::Lock Recursive lock")},
        {"try-lock with a mark that lies",
         [] {
             ZQMutex mutex;
             MarkOf(mutex) = 1;
             mutex.TryLock();
         },
         MutexReport("[0-9]+", "m_nLocked==0, ZQMutex::TryLock Recursive lock")},
        {"write lock twice",
         [] {
             ZQMutexRW lock;
             lock.LockWrite();
             lock.LockWrite();
         },
         MutexReport("[0-9]+", "0==pthread_rwlock_wrlock\\(&m_hOS\\), "
                               "ZQMutexRW::LockWrite pthread_rwlock_wrlock fail.")},
        {"read lock under the write lock",
         [] {
             ZQMutexRW lock;
             lock.LockWrite();
             lock.LockRead();
         },
         MutexReport("[0-9]+", "0==pthread_rwlock_rdlock\\(&m_hOS\\), "
                               "ZQMutexRW::LockRead pthread_rwlock_rdlock fail.")},
        {"Unlock after UnlockWrite",
         [] {
             ZQMutexRW lock;
             lock.LockWrite();
             lock.UnlockWrite();
             lock.LockWrite();
             lock.Unlock();
         },
         MutexReport("[0-9]+", "0==m_isWLocked, ZQMutexRW::Unlock assert.")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectAbort(c.action, c.report);
    }
}
