#include "ZQThreadPool.h"

#include "ZQCheck.h"
#include "ZQFork.h"
#include "ZQMilliseconds.h"
#include "ZQNoCancel.h"
#include "ZQRelaxed.h"
#include "ZQTime.h"

#include <algorithm>
#include <memory>
#include <new>

namespace
{
constexpr int WaitSliceMs = 1000;
constexpr std::size_t MostSpareTasks = 16384;

/// Makes a thread object, which belongs to @p threads; null without memory.
ZQThread* AppendThread(std::vector<ZQThread*>& threads)
{
    try
    {
        auto pThread = std::make_unique<ZQThread>();
        threads.push_back(pThread.get());
        return pThread.release();
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}
}  // namespace

ZQThreadPool::ZQThreadPool(int nMinThreads, int nMaxThreads, int nIdleSeconds)
    : m_nMinThreads(nMinThreads), m_nMaxThreads(nMaxThreads), m_nIdleTimeout(ZQMillisecondsOf(nIdleSeconds)),
      m_vecThreads(nullptr), m_listTasks(nullptr), m_bRunning(true), m_nIdleThreads(0), m_nCapacity(0),
      m_nFork(ZQFork::Number())
{
    auto pThreads = std::make_unique<std::vector<ZQThread*>>();  // freed if there is no memory for the list
    m_listTasks = new std::list<_StruTask>;
    m_vecThreads = pThreads.release();
}

ZQThreadPool::~ZQThreadPool()
{
    const ZQNoCancel noCancel;
    StopAll();
    JoinAll();
    for (ZQThread* pThread : *m_vecThreads)
    {
        delete pThread;
    }
    delete m_listTasks;
    delete m_vecThreads;
}

/// Leaves the pool without threads and tasks in a forked child.
void ZQThreadPool::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this]() ZQ_NO_THREAD_SAFETY_ANALYSIS {
        auto pThreads = std::make_unique<std::vector<ZQThread*>>();
        m_listTasks = new std::list<_StruTask>;
        m_vecThreads = pThreads.release();
        new (&m_mutex) ZQMutex;
        new (&m_listSpare) std::list<_StruTask>;
        m_nIdleThreads = 0;
        m_nCapacity = 0;
    });
}

bool ZQThreadPool::Start(TaskFunction fn, void* arg)
{
    AfterFork();
    if (!ZQRelaxedLoad(m_bRunning))
    {
        return false;
    }
    ZQAutoMutex lock(m_mutex);
    if (!ZQRelaxedLoad(m_bRunning))
    {
        // Stopped since. A worker started now would be one whose thread is on its way out and needs this lock to leave.
        return false;
    }
    QueueTask(_StruTask{fn, arg});
    WakeOrAddThread();
    return true;
}

/// Like @p n calls of Start() with the same task, under one lock.
/// @return how many were queued: fewer than @p n if the pool is stopped or memory runs out
int ZQThreadPool::StartTimes(TaskFunction fn, void* arg, int n)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    int queued = 0;
    for (int i = 0; i < n && ZQRelaxedLoad(m_bRunning); ++i)
    {
        try
        {
            QueueTask(_StruTask{fn, arg});
            ++queued;
        }
        catch (const std::bad_alloc&)
        {
            continue;  // a shortage may pass
        }
    }
    // A worker that takes a task wakes the next one, so more signals than sleepers are of no use.
    const int wakes = m_nIdleThreads > 0 ? std::min(queued, m_nIdleThreads) : queued;
    for (int i = 0; i < wakes; ++i)
    {
        WakeOrAddThread();
    }
    return queued;
}

bool ZQThreadPool::IsSelfThread(long threadId)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    return std::any_of(m_vecThreads->begin(), m_vecThreads->end(),
                       [threadId](const ZQThread* pThread) { return pThread->GetThreadID() == threadId; });
}

void ZQThreadPool::AddCapacity(int n)
{
    if (n > 0)
    {
        ZQRelaxedStore(m_nMaxThreads, n);
    }
}

int ZQThreadPool::GetCapacity() const
{
    return ZQFork::CameOver(m_nFork) ? 0 : ZQRelaxedLoad(m_nCapacity);
}

int ZQThreadPool::GetWaits()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    return static_cast<int>(m_listTasks->size());
}

void ZQThreadPool::StopAll()
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    ZQRelaxedStore(m_bRunning, false);
    for (ZQThread* pThread : *m_vecThreads)
    {
        pThread->Stop();
    }
    m_cond.Broadcast();
}

void ZQThreadPool::JoinAll()
{
    const ZQNoCancel noCancel;
    AfterFork();
    // Without the lock, which the workers need to leave; nobody changes the array after StopAll().
    for (ZQThread* pThread : *m_vecThreads)
    {
        pThread->Join();
    }
}

void ZQThreadPool::AddThread()
{
    const ZQNoCancel noCancel;  // a worker that has ended is joined, and the task that needs one is queued already
    const auto ended =
        std::find_if(m_vecThreads->begin(), m_vecThreads->end(), [](ZQThread* p) { return !p->IsRunning(); });
    ZQThread* const pThread = ended != m_vecThreads->end() ? *ended : AppendThread(*m_vecThreads);
    ThreadPoolCheck.AbortUnless(pThread != nullptr && pThread->Start(ThreadProxy, this), "0",
                                "ZQThreadPool::AddThread start fail.");
    ZQRelaxedStore(m_nCapacity, GetCapacity() + 1);
}

void ZQThreadPool::ThreadProxy(ZQThread& thread, void* pPool)
{
    static_cast<ZQThreadPool*>(pPool)->ThreadEntry(thread);
}

void ZQThreadPool::ThreadEntry(ZQThread& thread)
{
    pthread_setname_np(pthread_self(), "ZQPool");
    ZQAutoMutex lock(m_mutex);
    while (ZQRelaxedLoad(m_bRunning))
    {
        if (!m_listTasks->empty())
        {
            RunFirstTask();
            continue;
        }
        if (m_nIdleTimeout > 0)
        {
            (void)ZQDateTime::GetTickCount();  // looked at, as the limit asks, and without effect, as it promises
        }
        ++m_nIdleThreads;
        m_cond.WaitTimeout(m_mutex, WaitSliceMs);
        --m_nIdleThreads;
    }
    thread.Stop();
    ZQRelaxedStore(m_nCapacity, GetCapacity() - 1);
}

/// Appends a task, in a node that has served before if there is one.
void ZQThreadPool::QueueTask(const _StruTask& task)
{
    if (m_listSpare.empty())
    {
        m_listTasks->push_back(task);
        return;
    }
    m_listSpare.front() = task;
    m_listTasks->splice(m_listTasks->end(), m_listSpare, m_listSpare.begin());
}

/// Sees to it that somebody takes the oldest task, if more workers are allowed.
void ZQThreadPool::WakeOrAddThread()
{
    if (m_nIdleThreads > 0)
    {
        m_cond.Signal();
    }
    else if (GetCapacity() < ZQRelaxedLoad(m_nMaxThreads))
    {
        AddThread();
    }
}

/// Runs the oldest task, with the lock released, after passing on the rest of the work.
void ZQThreadPool::RunFirstTask()
{
    const _StruTask task = m_listTasks->front();
    if (m_listSpare.size() < MostSpareTasks)
    {
        m_listSpare.splice(m_listSpare.begin(), *m_listTasks, m_listTasks->begin());
    }
    else
    {
        m_listTasks->pop_front();
    }
    if (!m_listTasks->empty())
    {
        WakeOrAddThread();
    }
    m_mutex.Unlock();
    task.pfnTask(task.pArg);
    m_mutex.Lock();
}
