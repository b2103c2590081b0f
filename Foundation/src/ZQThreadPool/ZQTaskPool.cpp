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
}  // namespace

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
    if (IsInit())
    {
        m_pCore->StatusPause(false, ZQTaskPoolCore::StatusClosed);
    }
    m_pCore->m_mutex.Lock();
    m_pCore->Release();
}

int ZQTaskPool::Init(ZQRefThreadPool* pPool, DataFunction fnTask, DataFunction fnFree, void* user)
{
    if (m_pCore == nullptr)
    {
        return ResultClosed;
    }
    ZQAutoMutex lock(m_pCore->m_mutex);
    if (m_pCore->IsBound() || fnTask == nullptr || m_pCore->m_listFreeSlots.size() != m_pCore->m_iMaxThread)
    {
        return ResultBadInit;
    }
    if (pPool == nullptr)
    {
        pPool = ZQRefThreadPool::Global();
    }
    pPool->Ref();
    m_pCore->m_fnTask = fnTask;
    m_pCore->m_fnFree = fnFree;
    m_pCore->m_pUser = user;
    ZQReleaseStore(m_pCore->m_pPool, pPool);
    return ResultDone;
}

bool ZQTaskPool::IsInit()
{
    if (m_pCore == nullptr)
    {
        return false;
    }
    ZQAutoMutex lock(m_pCore->m_mutex);
    return m_pCore->IsBound() && (m_pCore->m_nStatus & ZQTaskPoolCore::StatusClosed) == 0;
}

bool ZQTaskPool::IsReady()
{
    if (m_pCore == nullptr)
    {
        return false;
    }
    ZQAutoMutex lock(m_pCore->m_mutex);
    return m_pCore->IsBound() && m_pCore->m_nStatus == 0;
}

int ZQTaskPool::Task(void* data, bool bUrgent)
{
    if (m_pCore == nullptr)
    {
        return ResultClosed;
    }
    if (ZQAcquireLoad(m_pCore->m_pPool) == nullptr)
    {
        return ResultNotInitialised;
    }
    ZQWorkerWake wake;  // before the lock, so that it wakes after it
    ZQAutoMutex lock(m_pCore->m_mutex);
    if (m_pCore->m_nStatus != 0)
    {
        return (m_pCore->m_nStatus & ZQTaskPoolCore::StatusPaused) != 0 ? ResultPaused : ResultClosed;
    }
    if (m_pCore->m_lMaxWaitTasks >= 1 && m_pCore->m_listWait.size() >= m_pCore->m_lMaxWaitTasks)
    {
        m_pCore->StartThread(wake);  // so that the queue drains
        return ResultFull;
    }
    ZQProbe::TaskQueued(m_pCore, data, bUrgent);
    if (bUrgent)
    {
        m_pCore->m_listWait.push_front(data);
    }
    else
    {
        m_pCore->m_listWait.push_back(data);
    }
    m_pCore->StartThread(wake);
    return ResultDone;
}

void ZQTaskPool::Pause(bool bDrain)
{
    if (m_pCore != nullptr)
    {
        m_pCore->StatusPause(bDrain, ZQTaskPoolCore::StatusPaused);
    }
}

int ZQTaskPool::Resume()
{
    if (m_pCore == nullptr)
    {
        return ResultClosed;
    }
    ZQAutoMutex lock(m_pCore->m_mutex);
    if (m_pCore->m_nStatus == 0)
    {
        return ResultDone;
    }
    m_pCore->m_nStatus &= ~ZQTaskPoolCore::StatusPaused;
    if (m_pCore->m_nStatus != 0)
    {
        return ResultClosed;
    }
    if (m_pCore->IsBound())
    {
        const long nFree = m_pCore->m_listFreeSlots.size();
        const long nSlots = std::min<long>(nFree, m_pCore->m_iMaxThread - m_pCore->m_nStartedSlots);
        for (long i = 0; i < nSlots; ++i)
        {
            ZQWorkerWake wake;
            if (!m_pCore->StartThread(wake))
            {
                break;
            }
        }
    }
    return ResultDone;
}

void ZQTaskPool::Clean()
{
    if (m_pCore != nullptr)
    {
        ZQAutoMutex lock(m_pCore->m_mutex);
        m_pCore->Clean();
    }
}

long ZQTaskPool::GetWaitTaskCount()
{
    if (m_pCore == nullptr)
    {
        return 0;
    }
    ZQAutoMutex lock(m_pCore->m_mutex);
    return m_pCore->m_listWait.size();
}

void ZQTaskPool::Uninit(bool bDrain)
{
    if (m_pCore == nullptr)
    {
        return;
    }
    ZQTaskPoolCore* pCore = m_pCore;
    if (IsInit() && !pCore->StatusPause(bDrain, ZQTaskPoolCore::StatusClosed))
    {
        return;  // a task that was drained has destroyed this object, and the core with it
    }
    ZQAutoMutex lock(pCore->m_mutex);
    pCore->Clean();
}
