#include "ZQThreadPool.h"

#include "ZQCheck.h"
#include "ZQMilliseconds.h"
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
      m_bRunning(true), m_nCapacity(0), m_nRefs(1), m_nWakes(0)
{
    m_listTasks.set_node_functions(CallocTaskNodeFromCache, FreeTaskNodeToCache, &m_listTaskCache);
    m_listTaskCache.set_node_functions(NewTaskNode, DelTaskNode, nullptr);
    m_listTPLCache.set_node_functions(NewTPLTaskNode, DelTPLTaskNode, nullptr);
}

ZQRefThreadPool::~ZQRefThreadPool()
{
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
    return ZQRelaxedLoad(m_nCapacity);
}

void ZQRefThreadPool::Clean(ZQTaskPoolCore* pCore, ZxxListInner<_StruRefTask>& listOut)
{
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
    ZQAutoMutex lock(m_mutex);
    while (TaskNode* pNode = list.front_node())
    {
        list.unlink(pNode);
        FreeTaskNodeToCache(pNode, &m_listTaskCache);
    }
}

void ZQRefThreadPool::StopAll()
{
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
    // Without the lock, which the workers need to leave; nobody changes the list after StopAll().
    for (auto it = m_listThreads.begin(); it != m_listThreads.end(); ++it)
    {
        (*it)->Join();
    }
}
