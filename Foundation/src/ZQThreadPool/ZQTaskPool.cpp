#include "ZQThreadPool.h"

#include "ZQProbe.h"
#include "ZQTaskPoolCore.h"

#include <algorithm>
#include <new>

namespace
{
enum : int
{
    ResultDone = 0,
    ResultClosed = -1,
    ResultNotInitialised = -2,
    ResultFull = -3,
    ResultPaused = -4,
    ResultBadInit = -5
};

/// Gives up what the child has of a core that is its parent's: the reference on the shared pool.
void LeaveToParent(const ZQTaskPoolCore& core)
{
    if (ZQRefThreadPool* const pPool = ZQAcquireLoad(core.m_pPool))
    {
        pPool->Unref();
    }
}

/// Puts a new core where @p pParents, which has come over a fork, still stands in @p place: the parent's threads are about to
/// go on with the other.
__attribute__((cold, noinline)) ZQTaskPoolCore* CoreOfChild(ZQTaskPoolCore*& place, ZQTaskPoolCore* pParents)
{
    ZQTaskPoolCore* pFound = pParents;
    ZQTaskPoolCore* pNew = new (std::nothrow) ZQTaskPoolCore(pParents->m_lMaxWaitTasks, pParents->m_iMaxThread);
    if (!__atomic_compare_exchange_n(&place, &pFound, pNew, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE))
    {
        if (pNew != nullptr)
        {
            pNew->m_mutex.Lock();
            pNew->Release();
        }
        return pFound;  // another thread was first
    }
    LeaveToParent(*pParents);
    return pNew;
}
}  // namespace

/// The state; in a forked child that of a pool just made. Small, so that it goes into every caller: a pool that has been idle
/// starts a task sooner the less code that takes.
ZQTaskPoolCore* ZQTaskPool::Core()
{
    ZQTaskPoolCore* const pCore = ZQAcquireLoad(m_pCore);
    return pCore != nullptr && ZQFork::CameOver(pCore->m_nFork) ? CoreOfChild(m_pCore, pCore) : pCore;
}

ZQTaskPool::ZQTaskPool(long lMaxWaitTasks, int iThreadNums) : m_pCore(nullptr)
{
    ThreadPoolCheck.CrashUnless(iThreadNums > 0, "iThreadNums>0");
    m_pCore = new (std::nothrow) ZQTaskPoolCore(lMaxWaitTasks, iThreadNums);
}

ZQTaskPool::~ZQTaskPool()
{
    if (m_pCore == nullptr)
    {
        return;
    }
    if (ZQFork::CameOver(m_pCore->m_nFork))
    {
        LeaveToParent(*m_pCore);
        return;
    }
    if (IsInit())
    {
        m_pCore->StatusPause(false, ZQTaskPoolCore::StatusClosed);
    }
    m_pCore->m_mutex.Lock();
    m_pCore->Release();
}

int ZQTaskPool::Init(ZQRefThreadPool* pPool, DataFunction fnTask, DataFunction fnFree, void* user)
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return ResultClosed;
    }
    ZQAutoMutex lock(pCore->m_mutex);
    if (pCore->IsBound() || fnTask == nullptr || pCore->m_listFreeSlots.size() != pCore->m_iMaxThread)
    {
        return ResultBadInit;
    }
    if (pPool == nullptr)
    {
        pPool = ZQRefThreadPool::Global();
    }
    pPool->AfterFork();  // before its cache of nodes is used
    pPool->Ref();
    pCore->m_fnTask = fnTask;
    pCore->m_fnFree = fnFree;
    pCore->m_pUser = user;
    ZQReleaseStore(pCore->m_pPool, pPool);
    return ResultDone;
}

bool ZQTaskPool::IsInit()
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return false;
    }
    ZQAutoMutex lock(pCore->m_mutex);
    return pCore->IsBound() && (pCore->m_nStatus & ZQTaskPoolCore::StatusClosed) == 0;
}

bool ZQTaskPool::IsReady()
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return false;
    }
    ZQAutoMutex lock(pCore->m_mutex);
    return pCore->IsBound() && pCore->m_nStatus == 0;
}

__attribute__((hot)) int ZQTaskPool::Task(void* data, bool bUrgent)
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return ResultClosed;
    }
    if (ZQAcquireLoad(pCore->m_pPool) == nullptr)
    {
        return ResultNotInitialised;
    }
    ZQWorkerWake wake;  // before the lock, so that it wakes after it
    ZQAutoMutex lock(pCore->m_mutex);
    if (pCore->m_nStatus != 0)
    {
        return (pCore->m_nStatus & ZQTaskPoolCore::StatusPaused) != 0 ? ResultPaused : ResultClosed;
    }
    if (pCore->m_lMaxWaitTasks >= 1 && pCore->m_listWait.size() >= pCore->m_lMaxWaitTasks)
    {
        pCore->StartThread(wake);  // so that the queue drains
        return ResultFull;
    }
    ZQProbe::TaskQueued(pCore, data, bUrgent);
    if (bUrgent)
    {
        pCore->m_listWait.push_front(data);
    }
    else
    {
        pCore->m_listWait.push_back(data);
    }
    pCore->StartThread(wake);
    return ResultDone;
}

void ZQTaskPool::Pause(bool bDrain)
{
    if (ZQTaskPoolCore* const pCore = Core())
    {
        pCore->StatusPause(bDrain, ZQTaskPoolCore::StatusPaused);
    }
}

int ZQTaskPool::Resume()
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return ResultClosed;
    }
    ZQAutoMutex lock(pCore->m_mutex);
    if (pCore->m_nStatus == 0)
    {
        return ResultDone;
    }
    pCore->m_nStatus &= ~ZQTaskPoolCore::StatusPaused;
    if (pCore->m_nStatus != 0)
    {
        return ResultClosed;
    }
    if (pCore->IsBound())
    {
        const long nFree = pCore->m_listFreeSlots.size();
        const long nSlots = std::min<long>(nFree, pCore->m_iMaxThread - pCore->m_nStartedSlots);
        for (long i = 0; i < nSlots; ++i)
        {
            ZQWorkerWake wake;
            if (!pCore->StartThread(wake))
            {
                break;
            }
        }
    }
    return ResultDone;
}

void ZQTaskPool::Clean()
{
    if (ZQTaskPoolCore* const pCore = Core())
    {
        const ZQNoCancel noCancel;  // nothing may unwind out of the list
        ZQAutoMutex lock(pCore->m_mutex);
        pCore->Clean();
    }
}

long ZQTaskPool::GetWaitTaskCount()
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return 0;
    }
    ZQAutoMutex lock(pCore->m_mutex);
    return pCore->m_listWait.size();
}

void ZQTaskPool::Uninit(bool bDrain)
{
    ZQTaskPoolCore* const pCore = Core();
    if (pCore == nullptr)
    {
        return;
    }
    if (IsInit() && !pCore->StatusPause(bDrain, ZQTaskPoolCore::StatusClosed))
    {
        return;  // a task that was drained has destroyed this object, and the core with it
    }
    const ZQNoCancel noCancel;
    ZQAutoMutex lock(pCore->m_mutex);
    pCore->Clean();
}
