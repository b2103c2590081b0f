#include "ZQWorkerWake.h"

#include "ZQFork.h"
#include "ZQOSApi.h"
#include "ZQRelaxed.h"

__attribute__((hot)) ZQWorkerWake::~ZQWorkerWake()
{
    if (m_pPool != nullptr)
    {
        m_pWorker->Signal();
        __atomic_fetch_sub(&m_pPool->m_nWakes, 1, __ATOMIC_RELEASE);
    }
}

__attribute__((hot)) bool ZQWorkerWake::Queue(ZQRefThreadPool& pool, const ZQRefThreadPool::_StruRefTask& task)
{
    if (ZQFork::CameOver(pool.m_nFork))
    {
        pool.AfterFork();
    }
    if (!ZQRelaxedLoad(pool.m_bRunning))
    {
        return false;
    }
    ZQAutoMutex lock(pool.m_mutex);
    if (!ZQRelaxedLoad(pool.m_bRunning))
    {
        // Stopped since. A worker started now would be one whose thread is on its way out and needs this lock to leave.
        return false;
    }
    pool.m_listTasks.push_back(task);
    ZQRefThreadPool::ThreadNode* pIdle = pool.m_listIdle.front_node();
    if (pIdle != nullptr)
    {
        pool.m_listIdle.unlink(pIdle);
        m_pPool = &pool;
        m_pWorker = pIdle->data;
        __atomic_fetch_add(&pool.m_nWakes, 1, __ATOMIC_RELAXED);
    }
    else if (pool.GetCapacity() < pool.m_nMaxThreads)
    {
        pool.AddThread();
    }
    return true;
}

void ZQWorkerWake::WaitForAll(const ZQRefThreadPool& pool)
{
    while (ZQAcquireLoad(pool.m_nWakes) != 0)
    {
        ZQSleep(1);  // rather than yield, which would keep out a thread of lower priority
    }
}
