#include "ZQThreadPool.h"

#include "ZQCheck.h"
#include "ZQNoCancel.h"
#include "ZQProbe.h"
#include "ZQRelaxed.h"
#include "ZQTime.h"

#include <cstdio>
#include <new>

namespace
{
constexpr int WaitSliceMs = 1000;

ZQRefThreadPool::MyThread* FindThread(ZxxListInner<ZQRefThreadPool::MyThread*>& threads, long lThreadID)
{
    for (auto it = threads.begin(); it != threads.end(); ++it)
    {
        if (*it != nullptr && (*it)->GetThreadID() == lThreadID)
        {
            return *it;
        }
    }
    return nullptr;
}

ZQRefThreadPool::MyThread* FindExited(ZxxListInner<ZQRefThreadPool::MyThread*>& threads)
{
    for (auto it = threads.begin(); it != threads.end(); ++it)
    {
        if (!(*it)->IsRunning())
        {
            return *it;
        }
    }
    return nullptr;
}

/// Runs the oldest task, with the lock released.
void RunFirstTask(ZQRefThreadPool& pool, long lThreadID) ZQ_REQUIRES(pool.m_mutex)
{
    ZQRefThreadPool::TaskNode* pNode = pool.m_listTasks.front_node();
    pool.m_listTasks.unlink(pNode);
    const ZQRefThreadPool::_StruRefTask task = pNode->data;
    ZQRefThreadPool::FreeTaskNodeToCache(pNode, &pool.m_listTaskCache);
    pool.m_mutex.Unlock();
    task.pfnTask(task.pArg, lThreadID);
    pool.m_mutex.Lock();
}

/// Waits as an idle worker until Start() picks this one, or for a slice. A worker that comes from work goes to the front,
/// where it is picked first; one that has waited in vain goes to the back, so that the surplus reaches its idle limit.
void WaitForTask(ZQRefThreadPool& pool, ZQRefThreadPool::ThreadNode* pNode, bool wasIdle) ZQ_REQUIRES(pool.m_mutex)
{
    if (wasIdle)
    {
        pool.m_listIdle.link_back(pNode);
    }
    else
    {
        pool.m_listIdle.link_front(pNode);
    }
    pNode->data->GetCond().WaitTimeout(pool.m_mutex, WaitSliceMs);
    if (pool.m_listIdle.linked(pNode))
    {
        pool.m_listIdle.unlink(pNode);
    }
}
}  // namespace

ZQRefThreadPool::MyThread::MyThread() = default;

ZQRefThreadPool::MyThread::~MyThread()
{
    const ZQNoCancel noCancel;
    Stop();
    Join();
}

ZQCond& ZQRefThreadPool::MyThread::GetCond()
{
    return m_cond;
}

__attribute__((hot)) void ZQRefThreadPool::MyThread::Signal()
{
    m_cond.Signal();
}

void ZQRefThreadPool::AddThread()
{
    const ZQNoCancel noCancel;  // a worker that has ended is joined, and the task that needs one is queued already
    MyThread* pThread = FindExited(m_listThreads);
    if (pThread == nullptr)
    {
        pThread = new (std::nothrow) MyThread;
        if (pThread != nullptr)
        {
            m_listThreads.push_back(pThread);
        }
    }
    // A worker that has left is joined here, under the lock: it has touched the pool for the last time.
    ThreadPoolCheck.AbortUnless(pThread != nullptr && pThread->ZQThread::Start(ThreadProxy, this), "0",
                                "ZQRefThreadPool::AddThread start fail.");
    ZQRelaxedStore(m_nCapacity, GetCapacity() + 1);
}

void ZQRefThreadPool::ThreadProxy(ZQThread& thread, void* pPool)
{
    static_cast<ZQRefThreadPool*>(pPool)->ThreadEntry(thread);
}

__attribute__((hot)) void ZQRefThreadPool::ThreadEntry(ZQThread& thread)
{
    pthread_setname_np(pthread_self(), "ZQRefPool");
    ZQTimeMeter meter;
    const long lThreadID = ZQThread::GetCurrentThreadID();
    ThreadPoolCheck.CrashUnless(lThreadID != -1, "lThreadID!=-1");

    m_mutex.Lock();
    MyThread* pThread = FindThread(m_listThreads, thread.GetThreadID());
    ThreadPoolCheck.CrashUnless(pThread != nullptr, "pThread != NULL");
    ThreadNode* pNode = ZxxListInner<MyThread*>::calloc_node(nullptr);
    ThreadPoolCheck.CrashUnless(pNode != nullptr, "pNode");
    pNode->data = pThread;
    ZQProbe::WorkerStarted(this, lThreadID);

    bool wasIdle = false;
    bool leavesIdle = false;
    while (ZQRelaxedLoad(m_bRunning))
    {
        if (!m_listTasks.empty())
        {
            RunFirstTask(*this, lThreadID);
            wasIdle = false;
            continue;
        }
        if (m_nIdleTimeout > 0)
        {
            if (!wasIdle)
            {
                meter.Reset();
            }
            else if (GetCapacity() > m_nMinThreads && meter.GetElapsed() > static_cast<unsigned long>(m_nIdleTimeout))
            {
                leavesIdle = true;
                break;
            }
        }
        WaitForTask(*this, pNode, wasIdle);
        wasIdle = true;
    }

    ZQRelaxedStore(m_nCapacity, GetCapacity() - 1);
    ZxxListInner<MyThread*>::free_node(pNode, nullptr);
    if (leavesIdle)
    {
        // Without the lock, and before AddThread() can take this thread for ended: writing may take as long as it likes.
        m_mutex.Unlock();
        std::printf("threadpool thread  %ld idle exit.\n", lThreadID);
        m_mutex.Lock();
    }
    ZQProbe::WorkerExited(this, lThreadID, leavesIdle);
    thread.Stop();
    m_mutex.Unlock();
    // From here on AddThread() may join this thread under the lock, and the pool may be gone: nothing below may touch it.
}
