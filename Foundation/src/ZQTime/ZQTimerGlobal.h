#ifndef ZQTIMERGLOBAL_H
#define ZQTIMERGLOBAL_H

#include "ZQThreadPool.h"
#include "ZQTime.h"
#include "ZQTimerSchedule.h"

/// What a timer shares with the worker that runs its callback; it may outlive the timer, which the callback may destroy.
struct ZQTimer::_StruShared
{
    typedef ZxxListInner<ZQTimer*>::node_type DueNode;

    explicit _StruShared(ZQTimer* pTimer);

    /// Marks the timer as handed out. @return `false` if it is marked already
    bool BeginRun();
    /// Clears the mark: the timer, as far as this run goes, may be freed from then on.
    void EndRun();
    /// Gives up a reference; the last one frees this.
    void Release();

    ZQMutex mutex;
    long nRef;          // 1 for the timer and 1 for a running callback; changed by the atomic functions alone
    bool bRunning;      // written under the mutex; released for whoever waits for its end without
    long lThreadID;     // who runs the callback, 0 for nobody; read without a lock
    long _nOnlyOne;     // guard against two runs at once; changed by the atomic functions alone
    DueNode node;       // of the queue of due timers; its data is the timer
    std::size_t place;  // among the started timers; kept by the timer module
};

/// The timer module: the service thread that looks at the started timers, and the pool whose workers run the callbacks.
///
/// Locks: that of the module's count, a timer's, m_mutex, and then a shared state's or those of the pool and its threads.
/// m_pPool and m_thread change under the first.
class ZQTimerGlobal
{
public:
    ZQTimerGlobal();
    /// Ends what still runs when the library is unloaded.
    ~ZQTimerGlobal();
    ZQTimerGlobal(const ZQTimerGlobal&) = delete;
    ZQTimerGlobal& operator=(const ZQTimerGlobal&) = delete;

    /// ZQTimer::ModuleInit().
    bool Init(int nThreads);
    /// ZQTimer::ModuleUninit().
    void Uninit();
    /// Whether anybody holds the module.
    bool IsUp() const;
    /// Has the service thread look at @p pTimer from now on.
    /// @param start  the tick from which its interval counts
    /// @return `false` without memory
    bool Insert(ZQTimer* pTimer, unsigned long start);
    /// Has it look no more, and takes back a run that no worker has taken yet.
    void Withdraw(ZQTimer* pTimer);

    /// The service thread.
    static void ThreadProxy(ZQThread& thread, void* pGlobal);
    /// The pool's task: one for each timer that was handed out.
    static void ThreadPoolProxy(void* pGlobal);

private:
    typedef ZQTimer::_StruShared::DueNode DueNode;

    static DueNode* _CallocListMangerNode(void* context);
    static void _FreeListMangerNode(DueNode* node, void* context);

    void AfterFork();
    void Scan();
    void HandOut(ZQTimerSchedule::Entry* const* due, std::size_t n, unsigned long now) ZQ_REQUIRES(m_mutex);
    ZQTimer* TakeDue();
    void StopThreads() ZQ_REQUIRES(m_mutexModule);
    void DropDue() ZQ_REQUIRES(m_mutex);

    ZQThreadPool* m_pPool;
    long m_nInit;  // users of the module; changed by the atomic functions alone
    ZQThread m_thread;
    ZQMutex m_mutex ZQ_ACQUIRED_AFTER(m_mutexModule);
    ZQTimerSchedule m_setTimers ZQ_GUARDED_BY(m_mutex);  // the started ones, and when each is due
    ZxxListInner<ZQTimer*>
        m_lstDue ZQ_GUARDED_BY(m_mutex);              // handed out and not taken, the newest first; nodes of the timers
    ZQMutex m_mutexModule;                            // one user takes the module up or down at a time
    long m_nParentInit ZQ_GUARDED_BY(m_mutexModule);  // users from before a fork, who may give up the module once more
    int m_nFork;                                      // in which process it was made
};

/// The only one; defined in ZQGlobals.cpp.
extern ZQTimerGlobal s_csTimerGlobal;

#endif
