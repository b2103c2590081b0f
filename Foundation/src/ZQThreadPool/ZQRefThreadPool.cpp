#include "ZQThreadPool.h"

#include "ZQCheck.h"
#include "ZQFork.h"
#include "ZQMilliseconds.h"
#include "ZQNoCancel.h"
#include "ZQOSApi.h"
#include "ZQRelaxed.h"
#include "ZQWorkerWake.h"

#include <algorithm>
#include <new>

namespace
{
constexpr int LeastAutomaticThreads = 16;
constexpr int MostAutomaticThreads = 64;

int AutomaticMaximum()
{
    return std::clamp(2 * ZQGetCPUProcessorNumber() + 1, LeastAutomaticThreads, MostAutomaticThreads);
}

void UseNodeFunctions(ZQRefThreadPool& pool) ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    using Pool = ZQRefThreadPool;
    pool.m_listTasks.set_node_functions(Pool::CallocTaskNodeFromCache, Pool::FreeTaskNodeToCache,
                                        &pool.m_listTaskCache);
    pool.m_listTaskCache.set_node_functions(Pool::NewTaskNode, Pool::DelTaskNode, nullptr);
    pool.m_listTPLCache.set_node_functions(Pool::NewTPLTaskNode, Pool::DelTPLTaskNode, nullptr);
}
}  // namespace

ZQRefThreadPool* ZQRefThreadPool::Create(int nMaxThreads, int nIdleSeconds)
{
    if (nMaxThreads <= 0)
    {
        nMaxThreads = AutomaticMaximum();
    }
    return new (std::nothrow) ZQRefThreadPool((nMaxThreads >> 1) + 1, nMaxThreads, nIdleSeconds);
}

ZQRefThreadPool::ZQRefThreadPool(int nMinThreads, int nMaxThreads, int nIdleSeconds)
    : m_nMinThreads(nMinThreads), m_nMaxThreads(nMaxThreads), m_nIdleTimeout(ZQMillisecondsOf(nIdleSeconds)),
      m_bRunning(true), m_nCapacity(0), m_nRefs(1), m_nWakes(0), m_nFork(ZQFork::Number())
{
    UseNodeFunctions(*this);
}

ZQRefThreadPool::~ZQRefThreadPool()
{
    const ZQNoCancel noCancel;
    StopAll();
    JoinAll();
    ZQWorkerWake::WaitForAll(*this);
    for (auto it = m_listThreads.begin(); it != m_listThreads.end(); ++it)
    {
        delete *it;
    }
    ThreadPoolCheck.CrashUnless(GetCapacity() == 0, "m_nCapacity == 0");
    // By hand and in this order: the tasks' nodes go to the cache, which as a member would be destroyed before the list.
    m_listThreads.clear();
    m_listTasks.clear();
    m_listTaskCache.clear();
    m_listTPLCache.clear();
}

void ZQRefThreadPool::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this]() ZQ_NO_THREAD_SAFETY_ANALYSIS {
        new (&m_mutex) ZQMutex;
        new (&m_mutexTPL) ZQMutex;
        new (&m_listThreads) ZxxListInner<MyThread*>;
        new (&m_listIdle) ZxxListInner<MyThread*>;
        new (&m_listTasks) ZxxListInner<_StruRefTask>;
        new (&m_listTaskCache) ZxxListInner<_StruRefTask>;
        new (&m_listTPLCache) ZxxListInner<void*>;
        UseNodeFunctions(*this);
        m_nCapacity = 0;
        m_nWakes = 0;
    });
}

void ZQRefThreadPool::Ref()
{
    ZQAtomicInc(&m_nRefs);
}

void ZQRefThreadPool::Unref()
{
    if (ZQAtomicDec(&m_nRefs) == 0)
    {
        delete this;
    }
}

bool ZQRefThreadPool::Start(TaskFunction pfnTask, void* pArg, ZQTaskPoolCore* pCore)
{
    ZQWorkerWake wake;
    return wake.Queue(*this, _StruRefTask{pfnTask, pArg, pCore});
}

bool ZQRefThreadPool::Start(TaskFunction pfnTask, void* pArg)
{
    return Start(pfnTask, pArg, nullptr);
}

int ZQRefThreadPool::GetCapacity() const
{
    return ZQFork::CameOver(m_nFork) ? 0 : ZQRelaxedLoad(m_nCapacity);
}

void ZQRefThreadPool::Clean(ZQTaskPoolCore* pCore, ZxxListInner<_StruRefTask>& listOut)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    for (auto it = m_listTasks.begin(); it != m_listTasks.end();)
    {
        TaskNode* pNode = it.node();
        ++it;
        if (pNode->data.pCore == pCore)
        {
            m_listTasks.unlink(pNode);
            listOut.link_back(pNode);
        }
    }
}

void ZQRefThreadPool::FreeCleanResult(ZxxListInner<_StruRefTask>& list)
{
    if (list.empty())
    {
        return;
    }
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    while (TaskNode* pNode = list.front_node())
    {
        list.unlink(pNode);
        FreeTaskNodeToCache(pNode, &m_listTaskCache);
    }
}

void ZQRefThreadPool::StopAll()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    ZQRelaxedStore(m_bRunning, false);
    for (auto it = m_listThreads.begin(); it != m_listThreads.end(); ++it)
    {
        (*it)->Stop();
        (*it)->Signal();
    }
}

void ZQRefThreadPool::JoinAll()
{
    AfterFork();
    // Without the lock, which the workers need to leave; nobody changes the list after StopAll().
    for (auto it = m_listThreads.begin(); it != m_listThreads.end(); ++it)
    {
        (*it)->Join();
    }
}
