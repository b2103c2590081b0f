#include "ZQMutex.h"

#include "ZQCheck.h"
#include "ZQFork.h"

#include <cassert>
#include <cerrno>
#include <ctime>

namespace
{
constexpr long NanosecondsPerSecond = 1000000000L;

/// Marks a mutex as free while its holder sleeps in a wait, and as held again on every way out of it: the platform takes
/// the mutex again also for a thread that is cancelled there.
class FlagReleaser
{
public:
    explicit FlagReleaser(int& nLocked) : m_nLocked(nLocked)
    {
        --m_nLocked;
    }
    ~FlagReleaser()
    {
        ++m_nLocked;
    }
    FlagReleaser(const FlagReleaser&) = delete;
    FlagReleaser& operator=(const FlagReleaser&) = delete;

private:
    int& m_nLocked;
};

/// The assertion of a wait's deadline, with the texts that it has under every compiler.
void AssertNanoseconds(long nanoseconds)
{
    if (__builtin_expect(nanoseconds >= 2 * NanosecondsPerSecond, 0))
    {
        __assert_fail("ts.tv_nsec < 2000000000", "Foundation/src/ZQMutex", __LINE__,
                      "ZQCond::CondErrno ZQCond::WaitTimeout(ZQMutex&, int)");
    }
}
}  // namespace

ZQCond::ZQCond() : m_nFork(ZQFork::Number())
{
    MutexCheck.AbortUnless(0 == pthread_condattr_init(&m_attr), "0==pthread_condattr_init(&m_attr)",
                           "ZQCond::ZQCond pthread_condattr_init fail.");
    MutexCheck.AbortUnless(0 == pthread_condattr_setclock(&m_attr, CLOCK_MONOTONIC),
                           "0== pthread_condattr_setclock(&m_attr , CLOCK_MONOTONIC)",
                           "ZQCond::ZQCond pthread_condattr_setclock CLOCK_MONOTONIC fail.");
    MutexCheck.AbortUnless(0 == pthread_cond_init(&m_hOS, &m_attr), "0==pthread_cond_init(&m_hOS, &m_attr)",
                           "ZQCond::ZQCond pthread_cond_init fail.");
}

ZQCond::~ZQCond()
{
    AfterFork();
    pthread_cond_destroy(&m_hOS);
    pthread_condattr_destroy(&m_attr);
}

/// The platform counts waiters and waits for them, also for those that a forked child does not have.
void ZQCond::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this] { pthread_cond_init(&m_hOS, &m_attr); });
}

void ZQCond::Wait(ZQMutex& mutex)
{
    AfterFork();
    FlagReleaser released(mutex.m_nLocked);
    pthread_cond_wait(&m_hOS, &mutex.m_hOS);
}

__attribute__((hot)) ZQCond::CondErrno ZQCond::WaitTimeout(ZQMutex& mutex, int ms)
{
    AfterFork();
    timespec ts;
    if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0)
    {
        return CondFailed;
    }
    ts.tv_sec += ms / 1000;
    ts.tv_nsec += ms % 1000 * 1000000L;
    AssertNanoseconds(ts.tv_nsec);
    if (ts.tv_nsec >= NanosecondsPerSecond)
    {
        ++ts.tv_sec;
        ts.tv_nsec -= NanosecondsPerSecond;
    }

    int error;
    {
        FlagReleaser released(mutex.m_nLocked);
        error = pthread_cond_timedwait(&m_hOS, &mutex.m_hOS, &ts);
    }
    if (error == 0)
    {
        return CondSignaled;
    }
    return error == ETIMEDOUT ? CondTimedOut : CondFailed;
}

__attribute__((hot)) void ZQCond::Signal()
{
    AfterFork();
    MutexCheck.AbortUnless(0 == pthread_cond_signal(&m_hOS), "0==pthread_cond_signal(&m_hOS)",
                           "ZQCond::Signal pthread_cond_signal fail.");
}

void ZQCond::Broadcast()
{
    AfterFork();
    // The message names Signal: programs that read reports know it so.
    MutexCheck.AbortUnless(0 == pthread_cond_broadcast(&m_hOS), "0==pthread_cond_broadcast(&m_hOS)",
                           "ZQCond::Signal pthread_cond_broadcast fail.");
}
