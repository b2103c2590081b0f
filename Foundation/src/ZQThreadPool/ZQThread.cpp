#include "ZQThreadPool.h"

#include "ZQFork.h"
#include "ZQNoCancel.h"
#include "ZQOSApi.h"
#include "ZQRelaxed.h"

#include <new>

namespace
{
enum : int
{
    StatusStarted = 1,     // a run was created and is neither joined nor detached
    StatusStop = 2,        // it is asked to end
    StatusPaused = 4,      // it is asked to pause
    StatusJoining = 8,     // somebody joins it, with the mutex released
    StatusRestarting = 16  // a Start() does
};

constexpr int PauseSliceMs = 100;  // a lost wake-up costs a pause no more than this
constexpr int JoinPollMs = 10;

/// Gives a mutex back while it lives; it is held again afterwards also when the thread is cancelled meanwhile.
class Unlocked
{
public:
    explicit Unlocked(ZQMutex& mutex) ZQ_NO_THREAD_SAFETY_ANALYSIS : m_mutex(mutex)
    {
        m_mutex.Unlock();
    }
    ~Unlocked() ZQ_NO_THREAD_SAFETY_ANALYSIS
    {
        m_mutex.Lock();
    }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

private:
    ZQMutex& m_mutex;
};
}  // namespace

/// What a new thread has to know; it frees it.
struct ZQThread::_StruStart
{
    ThreadFunction pfnProc;
    void* pParam;
    ZQThread* pThread;
};

ZQThread::ZQThread()
    : m_hThread(0), m_nStatus(0), m_pfnProc(nullptr), m_pParam(nullptr), m_pUserData(nullptr), m_lThreadID(-1),
      m_nFork(ZQFork::Number())
{
}

ZQThread::~ZQThread()
{
    const ZQNoCancel noCancel;
    Stop();
    Join();
}

/// Makes the object idle in a forked child, in which the thread does not run.
void ZQThread::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this] {
        new (&m_mutex) ZQMutex;
        m_hThread = 0;
        m_nStatus = 0;
        m_lThreadID = -1;
    });
}

bool ZQThread::Start(ThreadFunction fn, void* param)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (HasExactly(StatusRestarting, StatusRestarting))
    {
        return false;
    }
    if (HasExactly(StatusStarted, StatusStarted))
    {
        if (!HasExactly(StatusStop | StatusJoining, StatusStop))
        {
            return false;
        }
        ChangeStatus(0, StatusJoining | StatusRestarting);
        JoinUnlocked();
    }

    ZQRelaxedStore(m_nStatus, static_cast<int>(StatusStarted));
    m_pfnProc = fn;
    m_pParam = param;
    _StruStart* pStart = new (std::nothrow) _StruStart{fn, param, this};
    if (pStart == nullptr || pthread_create(&m_hThread, nullptr, ThreadMain, pStart) != 0)
    {
        delete pStart;
        m_hThread = 0;
        ZQRelaxedStore(m_nStatus, 0);
        return false;
    }
    ZQReleaseStore(m_lThreadID, static_cast<long>(m_hThread));
    return true;
}

void* ZQThread::ThreadMain(void* pStart)
{
    const _StruStart start = *static_cast<_StruStart*>(pStart);
    delete static_cast<_StruStart*>(pStart);

    // The identifier must be valid before the function runs. Until Start() has recorded it, it is -1, or that of an
    // earlier run that was detached: taking the mutex once waits for the end of Start().
    if (ZQAcquireLoad(start.pThread->m_lThreadID) != GetCurrentThreadID())
    {
        start.pThread->IsRunning();
    }
    start.pfnProc(*start.pThread, start.pParam);
    return nullptr;  // the object may be gone by now
}

void ZQThread::Stop()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (!HasExactly(StatusStarted | StatusRestarting, 0))
    {
        ChangeStatus(StatusPaused, StatusStop);
        m_cond.Signal();
    }
}

bool ZQThread::TestExit()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (!HasExactly(StatusStarted, StatusStarted))
    {
        return true;
    }
    while (HasExactly(StatusPaused | StatusStop, StatusPaused))
    {
        m_cond.WaitTimeout(m_mutex, PauseSliceMs);
    }
    return HasExactly(StatusStop, StatusStop);
}

void ZQThread::Suspend()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (HasExactly(StatusStarted | StatusStop, StatusStarted))
    {
        ChangeStatus(0, StatusPaused);
    }
}

bool ZQThread::Resume()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    ChangeStatus(StatusPaused, 0);
    if (HasExactly(StatusStarted, StatusStarted))
    {
        m_cond.Signal();
    }
    return HasExactly(StatusStarted | StatusStop, StatusStarted);
}

bool ZQThread::IsPause()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    return HasExactly(StatusStarted | StatusStop | StatusPaused, StatusStarted | StatusPaused);
}

bool ZQThread::IsRunning()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    return HasExactly(StatusStarted | StatusStop, StatusStarted);
}

void ZQThread::Join()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (!HasExactly(StatusStarted, StatusStarted))
    {
        return;
    }
    if (GetThreadID() == GetCurrentThreadID())
    {
        Detach();
        return;
    }
    if (HasExactly(StatusJoining, StatusJoining))
    {
        while (HasExactly(StatusJoining, StatusJoining))
        {
            const Unlocked unlocked(m_mutex);
            ZQSleep(JoinPollMs);
        }
        return;
    }
    ChangeStatus(0, StatusJoining);
    JoinUnlocked();
    ZQRelaxedStore(m_nStatus, 0);
}

/// JoinInner() with the mutex released. If the calling thread is cancelled, the run is again one that nobody joins.
void ZQThread::JoinUnlocked()
{
    try
    {
        const Unlocked unlocked(m_mutex);
        JoinInner();
    }
    catch (...)
    {
        ChangeStatus(StatusJoining | StatusRestarting, 0);
        throw;
    }
}

void ZQThread::JoinInner()
{
    AfterFork();
    const pthread_t hThread = TakeHandle();
    if (hThread != 0 && pthread_equal(hThread, pthread_self()) != 0)
    {
        pthread_detach(hThread);  // a stopped thread that starts itself anew cannot wait for itself
    }
    else if (hThread != 0)
    {
        try
        {
            pthread_join(hThread, nullptr);
        }
        catch (...)
        {
            __atomic_store_n(&m_hThread, hThread, __ATOMIC_RELAXED);  // cancelled: it is still to be joined
            throw;
        }
    }
    ZQRelaxedStore(m_lThreadID, -1L);
}

void ZQThread::Detach()
{
    AfterFork();
    const pthread_t hThread = TakeHandle();
    if (hThread != 0)
    {
        pthread_detach(hThread);
    }
    ZQRelaxedStore(m_nStatus, 0);
}

long ZQThread::GetThreadID() const
{
    return ZQFork::CameOver(m_nFork) ? -1 : ZQRelaxedLoad(m_lThreadID);
}

long ZQThread::GetCurrentThreadID()
{
    return static_cast<long>(pthread_self());
}

void ZQThread::SetUserData(void* pUserData)
{
    ZQRelaxedStore(m_pUserData, pUserData);
}

void* ZQThread::GetUserData() const
{
    return ZQRelaxedLoad(m_pUserData);
}

/// Takes the handle out of the object, so that of several who join or detach without the lock one does.
pthread_t ZQThread::TakeHandle()
{
    return __atomic_exchange_n(&m_hThread, pthread_t(0), __ATOMIC_RELAXED);
}

/// Whether exactly @p nBits of the bits @p nMask are set.
bool ZQThread::HasExactly(int nMask, int nBits) const
{
    return (ZQRelaxedLoad(m_nStatus) & nMask) == nBits;
}

void ZQThread::ChangeStatus(int nClear, int nSet)
{
    ZQRelaxedStore(m_nStatus, (ZQRelaxedLoad(m_nStatus) & ~nClear) | nSet);
}
