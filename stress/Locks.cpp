#include "Stress.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace
{
struct Shared
{
    ZQMutex mutex;
    ZQCond changed;
    long guarded = 0;  // of the mutex
    long tokens = 0;
    long taken = 0;
    ZQMutexRW rw;
    long left = 0;  // of the lock for readers and writers: always equal to the next
    long right = 0;
};

void OnePass(Shared& shared, Chance& chance, long& mine)
{
    switch (chance.Below(5))
    {
    case 0:
    {
        const ZQAutoMutex lock(shared.mutex);
        ++shared.guarded;
        ++mine;
        break;
    }
    case 1:
        if (shared.mutex.TryLock())
        {
            ++shared.guarded;
            ++mine;
            shared.mutex.Unlock();
        }
        break;
    case 2:
    {
        const ZQAutoReadLock lock(shared.rw);
        Demand(shared.left == shared.right, "a reader sees half of a write");
        break;
    }
    case 3:
    {
        const ZQAutoWriteLock lock(shared.rw);
        ++shared.left;
        ++shared.right;
        break;
    }
    default:
    {
        const ZQAutoMutex lock(shared.mutex);
        ++shared.tokens;
        chance.OneIn(2) ? shared.changed.Signal() : shared.changed.Broadcast();
        break;
    }
    }
}

/// Takes tokens until none comes for a while; may be cancelled in the wait.
void* Take(void* p)
{
    Shared& shared = *static_cast<Shared*>(p);
    const ZQAutoMutex lock(shared.mutex);
    for (;;)
    {
        while (shared.tokens == 0)
        {
            shared.changed.WaitTimeout(shared.mutex, 20);
        }
        --shared.tokens;
        ++shared.taken;
    }
}
}  // namespace

void StressLocks(const StressOptions& options)
{
    Shared shared;
    const Deadline deadline(options.seconds);
    std::atomic<long> total{0};
    std::atomic<long> cancelled{0};
    char key[] = "/tmp/zq-stress-XXXXXX";
    close(mkstemp(key));
    ZQProcessMutex process(key);
    long guardedByProcess = 0;
    std::atomic<long> passesOfProcess{0};
    InThreads(6, [&](int thread) {
        Chance chance(options.seed, thread);
        long mine = 0;
        while (!deadline.Passed())
        {
            if (thread == 0)
            {
                pthread_t taker;
                Demand(pthread_create(&taker, nullptr, Take, &shared) == 0, "pthread_create");
                Pause(chance.Below(3000));
                pthread_cancel(taker);
                pthread_join(taker, nullptr);
                ++cancelled;
            }
            else if (thread < 3 && chance.OneIn(50))
            {
                process.Lock();
                ++guardedByProcess;
                process.Unlock();
                ++passesOfProcess;
            }
            else
            {
                OnePass(shared, chance, mine);
            }
        }
        total += mine;
    });
    unlink(key);
    Demand(shared.guarded == total, "the mutex lost an addition");
    Demand(shared.left == shared.right, "the lock for readers and writers lost an addition");
    Demand(guardedByProcess == passesOfProcess, "the process mutex lost an addition");
    Demand(shared.mutex.TryLock(), "a cancelled waiter holds the mutex");
    shared.mutex.Unlock();
    std::printf("locks: %ld additions, %ld tokens taken, %ld waiters cancelled\n", shared.guarded, shared.taken,
                cancelled.load());
}
