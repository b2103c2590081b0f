#ifndef ZQTASKPOOLCORE_H
#define ZQTASKPOOLCORE_H

#include "ZQCheck.h"
#include "ZQFork.h"
#include "ZQNoCancel.h"
#include "ZQOSApi.h"
#include "ZQProbe.h"
#include "ZQRelaxed.h"
#include "ZQTaskNodeStash.h"
#include "ZQThreadPool.h"
#include "ZQWorkerWake.h"

/// The state of one task pool and its scheduling.
///
/// A fixed set of slots bounds how many of the pool's tasks run at once. A slot is free, or handed to the shared pool as
/// one of its tasks; the worker that gets it runs waiting tasks until none is left, then gives the slot back. The core is
/// counted: one reference for its ZQTaskPool and one for every slot handed out. Whoever brings the count to 0, and nobody
/// else, destroys the core; nobody touches it after his unlock unless he is that one.
///
/// Locks: m_mutex, then either lock of the shared pool. The callback that runs a task is called without any.
class ZQTaskPoolCore
{
public:
    /// A slot. The address of its list node is the argument of the shared pool's task that runs it.
    struct _StruMySelf
    {
        ZQTaskPoolCore* pThis;
        long lThreadID;  // who runs it, -1 for nobody
    };
    typedef ZxxList<_StruMySelf>::node_type SlotNode;
    typedef ZQTaskPool::DataFunction DataFunction;

    enum : unsigned int
    {
        StatusClosed = 1,
        StatusPaused = 2
    };

    ZQTaskPoolCore(long lMaxWaitTasks, int iThreadNums)
        : m_pPool(nullptr), m_lMaxWaitTasks(lMaxWaitTasks), m_nRefs(1), m_iMaxThread(iThreadNums), m_fnTask(nullptr),
          m_fnFree(nullptr), m_pUser(nullptr), m_bPausing(false), m_bPauseDrain(false), m_nStatus(0),
          m_nStartedSlots(0), m_lPauseThreadID(-1), m_nActiveThreads(0), m_nFork(ZQFork::Number())
    {
        for (int i = 0; i < iThreadNums; ++i)
        {
            m_listFreeSlots.push_back(_StruMySelf{this, -1});
        }
        m_listWait.set_node_functions(CallocTPLTaskNodeFromCache, FreeTPLTaskNodeToCache, this);
    }
    ZQTaskPoolCore(const ZQTaskPoolCore&) = delete;
    ZQTaskPoolCore& operator=(const ZQTaskPoolCore&) = delete;

    /// The way to a node for m_listWait, which calls it under the lock.
    __attribute__((hot)) static ZQRefThreadPool::TPLTaskNode*
    CallocTPLTaskNodeFromCache(void* core) ZQ_NO_THREAD_SAFETY_ANALYSIS
    {
        ZQTaskPoolCore* pThis = static_cast<ZQTaskPoolCore*>(core);
        return pThis->m_stash.Take(*pThis->m_pPool);
    }

    /// The way back: that of every waiting task that is removed without having run. An exception of its callback ends the
    /// process, since the list would be left half way.
    static void
    FreeTPLTaskNodeToCache(ZQRefThreadPool::TPLTaskNode* node, void* core) noexcept ZQ_NO_THREAD_SAFETY_ANALYSIS
    {
        ZQTaskPoolCore* pThis = static_cast<ZQTaskPoolCore*>(core);
        ZQProbe::TaskRemoved(pThis, node->data);
        if (pThis->m_fnFree != nullptr)
        {
            pThis->m_fnFree(node->data, pThis->m_pUser);
        }
        pThis->m_stash.Put(node, *pThis->m_pPool);
    }

    bool IsBound() const ZQ_REQUIRES(m_mutex)
    {
        return ZQRelaxedLoad(m_pPool) != nullptr;
    }

    /// Hands one slot to the shared pool.
    /// @param wake  becomes the worker that the caller wakes once he has unlocked m_mutex, which is the first thing that the
    ///              worker asks for
    /// @return `false` if there is none, or if the shared pool takes no tasks any more
    bool StartThread(ZQWorkerWake& wake) ZQ_REQUIRES(m_mutex)
    {
        SlotNode* pSlot = TakeSlot(-1);
        if (pSlot == nullptr)
        {
            return false;
        }
        if (wake.Queue(*m_pPool, ZQRefThreadPool::_StruRefTask{ThreadPoolProxy, pSlot, this}))
        {
            return true;
        }
        ReturnSlot(pSlot);
        m_listFreeSlots.link_front(pSlot);
        --m_nRefs;
        ThreadPoolCheck.CrashUnless(m_nRefs > 0, "m_nRefs>0");
        return false;
    }

    /// The shared pool's task.
    __attribute__((hot)) static void ThreadPoolProxy(void* slotNode, long threadId)
    {
        SlotNode* pSlot = static_cast<SlotNode*>(slotNode);
        pSlot->data.pThis->OnThreadPoolEntry(pSlot, threadId);
    }

    /// A slot's run: waiting tasks one after the other, then the slot back.
    void OnThreadPoolEntry(SlotNode* slotNode, long threadId) ZQ_EXCLUDES(m_mutex)
    {
        m_mutex.Lock();
        const long nActive = ZQAtomicInc(&m_nActiveThreads);
        ThreadPoolCheck.CrashUnless(nActive <= m_iMaxThread, "ZQAtomicInc(m_nActiveThreads)<=m_iMaxThread");
        slotNode->data.lThreadID = threadId;
        while ((m_nStatus == 0 || m_bPauseDrain) && !m_listWait.empty())
        {
            RunFirstTask();
        }
        ThreadPoolCheck.CrashUnless(slotNode->data.lThreadID == threadId, "pNode->data.lThreadID==lThreadID");
        ZQAtomicDec(&m_nActiveThreads);
        ReturnSlot(slotNode);
        m_listFreeSlots.link_front(slotNode);
        GiveBackNodesAtRest();
        if (m_bPausing || (m_nStartedSlots == 0 && m_nStatus != 0))
        {
            m_cond.Broadcast();  // under the lock: whoever wakes may destroy the core as soon as it is free
        }
        Release();
    }

    /// Pauses (StatusPaused) or closes (StatusClosed) the pool and waits until no slot runs but the caller's own.
    /// @return `false` if the core is gone: a task that this call has run has destroyed the ZQTaskPool
    bool StatusPause(bool bDrain, unsigned int nFlag) ZQ_EXCLUDES(m_mutex)
    {
        const ZQNoCancel noCancel;  // the pause would never end for others
        const long lThreadID = ZQThread::GetCurrentThreadID();
        m_mutex.Lock();
        const bool bOwnSlot = IsBusySlot(lThreadID);
        if (m_nStatus != 0 || m_bPausing)
        {
            while (m_bPausing && lThreadID != m_lPauseThreadID && !bOwnSlot)
            {
                m_cond.WaitTimeout(m_mutex, WaitSliceMs);
            }
            m_mutex.Unlock();
            return true;
        }
        m_lPauseThreadID = lThreadID;
        m_bPausing = true;
        m_bPauseDrain = bDrain;
        m_nStatus |= nFlag;
        TakeBackQueuedSlots();
        ++m_nRefs;  // this call's own: a drained task may destroy the ZQTaskPool
        WaitForSlots(lThreadID, bOwnSlot);
        m_bPausing = false;
        if (m_nStatus != 0)
        {
            m_nStartedSlots = bOwnSlot ? 1 : 0;
        }
        GiveBackNodesAtRest();
        m_cond.Broadcast();
        return Release();
    }

    /// Removes every waiting task.
    void Clean() ZQ_REQUIRES(m_mutex)
    {
        m_listWait.clear();
        GiveBackNodesAtRest();
    }

    /// Gives up a reference and unlocks; the last one destroys the core.
    /// @return `false` if the core is gone
    bool Release() ZQ_RELEASE(m_mutex)
    {
        const bool bLast = --m_nRefs == 0;
        m_mutex.Unlock();
        if (bLast)
        {
            Destroy();
        }
        return !bLast;
    }

    ZQRefThreadPool* m_pPool;  // published once by Init(); read without the lock by Task()
    const long m_lMaxWaitTasks;
    long m_nRefs ZQ_GUARDED_BY(m_mutex);
    const int m_iMaxThread;
    DataFunction m_fnTask;  // these three constant from Init() on
    DataFunction m_fnFree;
    void* m_pUser;
    bool m_bPausing ZQ_GUARDED_BY(m_mutex);     // a pause or a close is in progress
    bool m_bPauseDrain ZQ_GUARDED_BY(m_mutex);  // slots go on although the status says stop
    unsigned int m_nStatus ZQ_GUARDED_BY(m_mutex);
    int m_nStartedSlots ZQ_GUARDED_BY(m_mutex);  // handed out and not given back
    long m_lPauseThreadID ZQ_GUARDED_BY(m_mutex);
    ZxxList<_StruMySelf> m_listFreeSlots ZQ_GUARDED_BY(m_mutex);
    ZxxList<_StruMySelf> m_listBusySlots ZQ_GUARDED_BY(m_mutex);
    ZxxListInner<void*> m_listWait ZQ_GUARDED_BY(m_mutex);
    ZQMutex m_mutex;
    ZQCond m_cond;          // pauses wait here
    long m_nActiveThreads;  // workers inside OnThreadPoolEntry(); changed by the atomic functions alone
    const int m_nFork;      // in which process it was made; in a forked child nobody touches it any more

private:
    static constexpr int WaitSliceMs = 1000;

    ZQTaskNodeStash m_stash ZQ_GUARDED_BY(m_mutex);  // empty while no slot is handed out and the shared pool works

    ~ZQTaskPoolCore() = default;

    /// Leaves the spare nodes to other task pools while no slot is handed out.
    void GiveBackNodesAtRest() ZQ_REQUIRES(m_mutex)
    {
        if (m_nStartedSlots == 0 && IsBound())
        {
            m_stash.GiveBackAll(*m_pPool);
        }
    }

    /// Takes the first free slot for the thread @p lThreadID, with a reference; null if there is none.
    SlotNode* TakeSlot(long lThreadID) ZQ_REQUIRES(m_mutex)
    {
        SlotNode* pSlot = m_listFreeSlots.front_node();
        if (pSlot != nullptr)
        {
            m_listFreeSlots.unlink(pSlot);
            m_listBusySlots.link_back(pSlot);
            pSlot->data.lThreadID = lThreadID;
            ++m_nStartedSlots;
            ++m_nRefs;
        }
        return pSlot;
    }

    /// Takes a slot from the busy ones; the caller links it to the free ones and answers for its reference.
    void ReturnSlot(SlotNode* pSlot) ZQ_REQUIRES(m_mutex)
    {
        m_listBusySlots.unlink(pSlot);
        pSlot->data.lThreadID = -1;
        --m_nStartedSlots;
    }

    bool IsBusySlot(long lThreadID) ZQ_REQUIRES(m_mutex)
    {
        for (auto it = m_listBusySlots.begin(); it != m_listBusySlots.end(); ++it)
        {
            if ((*it).lThreadID == lThreadID)
            {
                return true;
            }
        }
        return false;
    }

    /// Runs the first waiting task, with the lock released. Its node goes back without the free callback, since the task
    /// owns its data. An exception ends the process on whatever thread this runs.
    void RunFirstTask() noexcept ZQ_REQUIRES(m_mutex)
    {
        ZQRefThreadPool::TPLTaskNode* pNode = m_listWait.front_node();
        m_listWait.unlink(pNode);
        void* const pData = pNode->data;
        m_stash.Put(pNode, *m_pPool);
        m_mutex.Unlock();
        ZQProbe::TaskBegun(this, pData, m_fnTask);
        m_fnTask(pData, m_pUser);
        ZQProbe::TaskDone(this, pData);
        m_mutex.Lock();
    }

    /// Takes back the slots that the shared pool has queued and no worker has taken yet.
    void TakeBackQueuedSlots() ZQ_REQUIRES(m_mutex)
    {
        if (!IsBound())
        {
            return;
        }
        ZxxListInner<ZQRefThreadPool::_StruRefTask> listTaken;
        m_pPool->Clean(this, listTaken);
        for (auto it = listTaken.begin(); it != listTaken.end(); ++it)
        {
            SlotNode* pSlot = static_cast<SlotNode*>((*it).pArg);
            ReturnSlot(pSlot);
            m_listFreeSlots.link_back(pSlot);
            --m_nRefs;
        }
        m_pPool->FreeCleanResult(listTaken);
    }

    /// The slots that a worker has reached.
    int RunningSlots() ZQ_REQUIRES(m_mutex)
    {
        int nRunning = 0;
        for (auto it = m_listBusySlots.begin(); it != m_listBusySlots.end(); ++it)
        {
            nRunning += (*it).lThreadID != -1 ? 1 : 0;
        }
        return nRunning;
    }

    /// The waiting part of a pause; with m_bPauseDrain it also sees to it that nothing is left waiting.
    void WaitForSlots(long lThreadID, bool bOwnSlot) ZQ_REQUIRES(m_mutex)
    {
        const int nOwn = bOwnSlot ? 1 : 0;
        for (;;)
        {
            if (m_nStatus == 0 && RunningSlots() <= nOwn)
            {
                return;  // resumed meanwhile; the slots handed out by that may need this very worker to run on
            }
            const bool bDrains = m_bPauseDrain && !m_listWait.empty();
            if (bDrains && (bOwnSlot || m_nStartedSlots == 0))
            {
                DrainHere(lThreadID, bOwnSlot);
            }
            else if (!bDrains && m_nStartedSlots <= nOwn)
            {
                return;
            }
            else
            {
                m_cond.WaitTimeout(m_mutex, WaitSliceMs);
            }
        }
    }

    /// Runs every waiting task on the calling thread. If it has no slot it borrows one, so that no more tasks run at a time
    /// than there are slots even if somebody resumes the pool meanwhile, and so that a call from inside such a task is
    /// known to come from there.
    void DrainHere(long lThreadID, bool bOwnSlot) ZQ_REQUIRES(m_mutex)
    {
        SlotNode* pBorrowed = bOwnSlot ? nullptr : TakeSlot(lThreadID);
        while (!m_listWait.empty())
        {
            RunFirstTask();
        }
        if (pBorrowed != nullptr)
        {
            ReturnSlot(pBorrowed);
            m_listFreeSlots.link_front(pBorrowed);
            --m_nRefs;
        }
    }

    /// Ends a core that nobody refers to any more. Nothing is left to be paused, whatever the status says: every slot handed
    /// out and every pause in progress holds a reference.
    void Destroy() ZQ_NO_THREAD_SAFETY_ANALYSIS
    {
        const ZQNoCancel noCancel;
        if (m_pPool != nullptr)
        {
            m_listWait.clear();  // by way of the free callback, the nodes to the shared pool, so before it is released
            m_stash.GiveBackAll(*m_pPool);
            m_pPool->Unref();
        }
        delete this;
    }
};

#endif
