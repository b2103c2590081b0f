#include "ZQTimerGlobal.h"

#include "ZQCheck.h"
#include "ZQFork.h"
#include "ZQNoCancel.h"
#include "ZQOSApi.h"
#include "ZQProbe.h"

#include <algorithm>
#include <new>

namespace
{
constexpr int ScanMs = 5;
constexpr std::size_t Batch = 16;  // timers handed out at a time; those of the next batch come into the cache meanwhile
constexpr int PoolMinThreads = 1;
constexpr int PoolIdleSeconds = 120;
constexpr int UninitLine = 1295;  // the line that the documented report of one ModuleUninit() too many names
}  // namespace

ZQTimerGlobal::ZQTimerGlobal() : m_pPool(nullptr), m_nInit(0), m_nParentInit(0), m_nFork(ZQFork::Number())
{
    m_lstDue.set_node_functions(_CallocListMangerNode, _FreeListMangerNode, nullptr);
}

ZQTimerGlobal::~ZQTimerGlobal()
{
    AfterFork();
    ZQAutoMutex module(m_mutexModule);
    StopThreads();
}

/// Leaves a module in a forked child that nobody has taken up, without timers.
void ZQTimerGlobal::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this]() ZQ_NO_THREAD_SAFETY_ANALYSIS {
        new (&m_mutex) ZQMutex;
        new (&m_mutexModule) ZQMutex;
        m_pPool = nullptr;
        m_nParentInit += m_nInit;
        m_nInit = 0;
        new (&m_setTimers) ZQTimerSchedule;
        new (&m_lstDue) ZxxListInner<ZQTimer*>;
        m_lstDue.set_node_functions(_CallocListMangerNode, _FreeListMangerNode, nullptr);
    });
}

bool ZQTimerGlobal::Init(int nThreads)
{
    AfterFork();
    ZQAutoMutex module(m_mutexModule);
    if (ZQAtomicInc(&m_nInit) > 1)
    {
        return true;
    }
    if (nThreads < 1)
    {
        nThreads = 2 * ZQGetCPUProcessorNumber() + 3;
    }
    try
    {
        m_pPool = new ZQThreadPool(PoolMinThreads, nThreads, PoolIdleSeconds);
    }
    catch (const std::bad_alloc&)
    {
        ZQAtomicDec(&m_nInit);
        return false;
    }
    if (m_thread.Start(ThreadProxy, this))
    {
        return true;
    }
    ZQAtomicDec(&m_nInit);
    delete m_pPool;
    m_pPool = nullptr;
    return false;
}

void ZQTimerGlobal::Uninit()
{
    AfterFork();
    const ZQNoCancel noCancel;
    ZQAutoMutex module(m_mutexModule);
    if (ZQAtomicGet(&m_nInit) == 0 && m_nParentInit > 0)
    {
        --m_nParentInit;
        return;
    }
    const long v = ZQAtomicDec(&m_nInit);
    TimeCheck.CrashUnless(v >= 0, "v>=0", UninitLine);
    if (v > 0)
    {
        return;
    }
    StopThreads();
    ZQAutoMutex lock(m_mutex);
    m_setTimers.Clear();
}

bool ZQTimerGlobal::IsUp() const
{
    return !ZQFork::CameOver(m_nFork) && ZQAtomicGet(&m_nInit) >= 1;
}

bool ZQTimerGlobal::Insert(ZQTimer* pTimer, unsigned long start)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    try
    {
        m_setTimers.Add(pTimer, &pTimer->m_pShared->place, pTimer->DueAfter(start));
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

void ZQTimerGlobal::Withdraw(ZQTimer* pTimer)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    m_setTimers.Remove(pTimer, pTimer->m_pShared->place);
    DueNode* pNode = &pTimer->m_pShared->node;
    if (m_lstDue.linked(pNode))
    {
        pTimer->m_pShared->EndRun();
        m_lstDue.unlink(pNode);
    }
}

void ZQTimerGlobal::ThreadProxy(ZQThread& thread, void* pGlobal)
{
    pthread_setname_np(pthread_self(), "ZQTimer");
    ZQTimerGlobal* pThis = static_cast<ZQTimerGlobal*>(pGlobal);
    if (thread.TestExit())
    {
        return;
    }
    do
    {
        if (!pThis->IsUp())
        {
            return;
        }
        pThis->Scan();
        ZQSleep(ScanMs);
    } while (!thread.TestExit());
}

void ZQTimerGlobal::ThreadPoolProxy(void* pGlobal)
{
    ZQTimer* pTimer = static_cast<ZQTimerGlobal*>(pGlobal)->TakeDue();
    if (pTimer != nullptr)
    {
        pTimer->RunCallback();
    }
}

ZQTimerGlobal::DueNode* ZQTimerGlobal::_CallocListMangerNode(void*)
{
    return nullptr;  // the timers bring their nodes
}

void ZQTimerGlobal::_FreeListMangerNode(DueNode*, void*)
{
}

/// Hands out every timer that is due.
void ZQTimerGlobal::Scan()
{
    ZQAutoMutex lock(m_mutex);
    const unsigned long now = ZQDateTime::GetTickCount();
    const std::vector<ZQTimerSchedule::Entry*>& due = m_setTimers.Due(now);
    for (std::size_t i = 0; i < due.size(); i += Batch)
    {
        for (std::size_t next = i + Batch; next < std::min(i + 2 * Batch, due.size()); ++next)
        {
            __builtin_prefetch(&due[next]->pTimer->m_meter, 1);
            __builtin_prefetch(due[next]->place, 1);  // in its shared state
        }
        HandOut(&due[i], std::min(Batch, due.size() - i), now);
    }
}

/// Hands out a batch of due timers, except those that still wait for a worker or run. What the timers' own locks guard is read
/// without them: it changes only while a timer is not in the set.
void ZQTimerGlobal::HandOut(ZQTimerSchedule::Entry* const* due, std::size_t n, unsigned long now)
{
    ZQTimerSchedule::Entry* handedOut[Batch];
    int count = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        ZQTimer* const pTimer = due[i]->pTimer;
        if (m_lstDue.linked(&pTimer->m_pShared->node) || !pTimer->m_pShared->BeginRun())
        {
            m_setTimers.SetDue(*due[i], due[i]->due);
            continue;
        }
        ZQProbe::TimerHandedOut(pTimer, pTimer->m_nInterval, pTimer->DueAfter(now - due[i]->due));
        m_lstDue.link_front(&pTimer->m_pShared->node);
        handedOut[count++] = due[i];
    }
    if (count == 0)
    {
        return;
    }
    const int queued = m_pPool->StartTimes(ThreadPoolProxy, this, count);
    // The intervals count from here, not from the end of the callbacks. One look at the clock does for all: no worker can take
    // any of them before the lock is given back.
    const unsigned long from = ZQDateTime::GetTickCount();
    for (int i = 0; i < count; ++i)
    {
        ZQTimer* const pTimer = handedOut[i]->pTimer;
        pTimer->m_meter.Reset(from);
        m_setTimers.SetDue(*handedOut[i], pTimer->DueAfter(from));
        if (i >= queued)
        {
            pTimer->m_pShared->EndRun();
            m_lstDue.detach(&pTimer->m_pShared->node);  // the count stays; nothing here goes by it
        }
    }
}

/// The timer that was handed out first, or null if its run was taken back.
ZQTimer* ZQTimerGlobal::TakeDue()
{
    ZQAutoMutex lock(m_mutex);
    DueNode* pNode = m_lstDue.back_node();
    if (pNode == nullptr)
    {
        return nullptr;
    }
    m_lstDue.unlink(pNode);
    // From here to the reference that RunCallback() takes, the mark bRunning keeps the timer: whoever destroys it waits.
    return pNode->data;
}

void ZQTimerGlobal::StopThreads()
{
    m_thread.Stop();
    m_thread.Join();
    {
        // Before the pool ends: a callback may wait in Stop(true) for a run that no worker will take any more.
        ZQAutoMutex lock(m_mutex);
        DropDue();
    }
    delete m_pPool;  // waits for running callbacks
    m_pPool = nullptr;
}

void ZQTimerGlobal::DropDue()
{
    for (auto it = m_lstDue.begin(); it != m_lstDue.end(); ++it)
    {
        (*it)->m_pShared->EndRun();
    }
    m_lstDue.clear();
}
