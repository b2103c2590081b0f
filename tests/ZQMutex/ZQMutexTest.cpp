#include "ZQMutex.h"

#include "support/Fatal.h"
#include "support/Threads.h"
#include "support/WorkDir.h"

#include <algorithm>
#include <sys/wait.h>

/// The mark that a mutex keeps, its first field; a mark that lies stands for a wait that went around ZQCond.
static int& MarkOf(ZQMutex& mutex) { return *reinterpret_cast<int*>(&mutex); }

/// The result of @p action in another process.
template <class Action> static bool InChild(Action action) {
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(action() ? 0 : 1);
    }
    int status = -1;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(ZQMutexTest, KeepsThreadsApartAndTellsWhetherItIsHeld) {
    ZQMutex mutex;
    ASSERT_TRUE(mutex.TryLock());
    InThreads(1, [&](int) { EXPECT_FALSE(mutex.TryLock()); });
    EXPECT_EQ(MarkOf(mutex), 1);
    mutex.Unlock();
    EXPECT_EQ(MarkOf(mutex), 0);
    long counter = 0;
    InThreads(4, [&](int) {
        for (int i = 0; i < 20000; ++i) {
            ZQAutoMutex lock(mutex);
            ++counter;
        }
    });
    EXPECT_EQ(counter, 80000);
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}

TEST(ZQMutexRWTest, ReadersShareAndWritersDoNot) {
    ZQMutexRW lock;
    long value = 0;
    lock.LockRead();
    InThreads(1, [&](int) { ZQAutoReadLock second(lock); });
    lock.Unlock();
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
}

TEST(ZQMutexDeathTest, MisuseIsReported) {
    const std::string begin = "^abort Foundation/src/ZQMutex:";
    const std::tuple<int, void (*)(ZQMutex&), const char*> mutexCases[] = {
        {0, [](ZQMutex& m) { m.Unlock(); }, "[0-9]+ expre: 0 != m_nLocked, ZQMutex::Unlock unlock no locked \n"},
        {1, [](ZQMutex& m) { m.Lock(); }, "55 expre: m_nLocked==0, ZQMutex::Lock Recursive lock \n"},
        {1, [](ZQMutex& m) { m.TryLock(); }, "[0-9]+ expre: m_nLocked==0, ZQMutex::TryLock Recursive lock \n"},
    };
    for (const auto& c : mutexCases) {
        ZQMutex mutex;
        MarkOf(mutex) = std::get<0>(c);
        ExpectAbort([&] { std::get<1>(c)(mutex); }, begin + std::get<2>(c));
    }
    using RW = ZQMutexRW;
    const std::pair<std::vector<void (RW::*)()>, const char*> rwCases[] = {
        {{&RW::LockWrite, &RW::LockWrite},
         "0==pthread_rwlock_wrlock\\(&m_hOS\\), ZQMutexRW::LockWrite pthread_rwlock_wrlock fail."},
        {{&RW::LockWrite, &RW::LockRead},
         "0==pthread_rwlock_rdlock\\(&m_hOS\\), ZQMutexRW::LockRead pthread_rwlock_rdlock fail."},
        {{&RW::LockWrite, &RW::UnlockWrite, &RW::LockWrite, &RW::Unlock}, "0==m_isWLocked, ZQMutexRW::Unlock assert."},
    };
    for (const auto& c : rwCases) {
        RW lock;
        const auto take = [&lock](void (RW::*step)()) { (lock.*step)(); };
        ExpectAbort([&] { std::for_each(c.first.begin(), c.first.end(), take); },
                    begin + "[0-9]+ expre: " + c.second + " \n");
    }
}

TEST(ZQCondTest, WaitTimeoutKeepsItsLimit) {
    ZQMutex mutex;
    ZQCond cond;
    ZQAutoMutex lock(mutex);
    for (const int ms : {0, -1000, 30, 1100}) {
        SCOPED_TRACE(ms);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(cond.WaitTimeout(mutex, ms), ZQCond::CondTimedOut);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(ms));
        InThreads(1, [&](int) { EXPECT_FALSE(mutex.TryLock()); });
    }
    // A limit before the current second is refused, but for the last millisecond of a second.
    int refused = 0;
    for (int i = 0; i < 3; ++i) { refused += cond.WaitTimeout(mutex, -999) == ZQCond::CondFailed ? 1 : 0; }
    EXPECT_GE(refused, 1);
    InThreads(1, [&](int) { EXPECT_FALSE(mutex.TryLock()); });
}

TEST(ZQCondTest, WakesOneOrAllAndLeavesTheMutexFreeMeanwhile) {
    ZQMutex mutex;
    ZQCond cond;
    Gate waiting, woken;
    int tokens = 0;
    InThreads(4, [&](int i) {
        if (i < 3) {
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
            return;
        }
        waiting.WaitFor(3);
        for (int n = 1; n <= 3; ++n) {
            mutex.Lock();  // the waiters hold it no longer, and the mark says so
            ++tokens;
            n == 1 ? cond.Broadcast() : cond.Signal();
            mutex.Unlock();
            woken.WaitFor(n);
        }
    });
}

TEST(ZQCondTest, CancelledWaiterLeavesTheMutexUsable) {
    ZQMutex mutex;
    ZQCond cond;
    Gate waiting;
    std::thread thread([&] {
        ZQAutoMutex lock(mutex);
        waiting.Arrive();
        for (;;) { cond.WaitTimeout(mutex, 1000); }
    });
    waiting.WaitFor(1);
    pthread_cancel(thread.native_handle());
    thread.join();
    EXPECT_TRUE(mutex.TryLock());  // ends the process if the mark were wrong
    mutex.Unlock();
}

TEST(ZQProcessMutexTest, KeepsProcessesAndThreadsApart) {
    const WorkDir dir;
    const auto otherGetsIt = [] { return InChild([] { return (new ZQProcessMutex("lock"))->TryLock(); }); };
    ZQProcessMutex mutex("lock");
    for (const bool wait : {true, false}) {
        EXPECT_TRUE(otherGetsIt());
        EXPECT_TRUE(wait ? mutex.Lock() == 0 : mutex.TryLock());
        EXPECT_FALSE(otherGetsIt());
        InThreads(1, [&](int) { EXPECT_FALSE(mutex.TryLock()); });
        mutex.Unlock();
    }
}

TEST(ZQProcessMutexTest, LockFileIsForWritingByItsOwnerAlone) {
    const WorkDir dir;
    ASSERT_EQ(chmod(".", 0777), 0);
    // An ordinary user may not read that file: the second open is the one that matters.
    EXPECT_TRUE(InChild([] {
        umask(0);
        if (geteuid() == 0 && setuid(65534) != 0) {  // nobody
            return false;
        }
        ZQProcessMutex first("lock"), second("lock");
        const bool locked = second.Lock() == 0;
        second.Unlock();
        return locked;
    }));
    struct stat status;
    ASSERT_EQ(stat("lock", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, static_cast<mode_t>(0200));
}

TEST(ZQProcessMutexDeathTest, KeyThatCannotBeOpenedIsReported) {
    const std::string begin = "^abort Foundation/src/ZQMutex:[0-9]+ expre: ",
                      name = ", ZQProcessMutex::ZQProcessMutex ";
    ExpectAbort([] { ZQProcessMutex(nullptr); }, begin + "szKey" + name + "szkey is null! \n");
    ExpectAbort([] { ZQProcessMutex("/nonexistent/key"); }, begin + "m_ZQProcessMutex!=-1" + name + "open fail! \n");
}
