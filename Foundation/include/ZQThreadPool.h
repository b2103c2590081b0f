#ifndef ZQTHREADPOOL_H
#define ZQTHREADPOOL_H

/// @file
/// Threads and pools.
///
/// | type            | use it for                                                                                   |
/// |-----------------|----------------------------------------------------------------------------------------------|
/// | ZQTaskPool      | a queue of work, done in order or by several threads at once: the usual choice               |
/// | ZQRefThreadPool | the threads that task pools share, and single functions that just have to run somewhere      |
/// | ZQThreadPool    | functions that have to run on threads of one owner's, first in first out                     |
/// | ZQThread        | one long-lived thread of your own that can be paused, stopped and started again              |
///
/// A task pool owns no thread. It borrows them, a bounded number at a time, from a shared pool, usually the process-wide
/// one, which starts a worker when a task finds none idle and lets surplus workers go after two idle minutes.
///
/// Threads: every operation may be called from any thread, also from inside a task, unless it says otherwise. No pool
/// holds a lock of its own while it runs a task. Nothing is ever forced: a task that never returns keeps its thread.
///
/// Cancellation: ZQThread::TestExit(), ZQThread::Join() and a ZQThread::Start() that waits are cancellation points and
/// leave the object usable. What else waits here, destructors included, is none: a cancellation takes effect afterwards. The
/// workers of a pool must not be cancelled.
///
/// Forks: a forked child has none of its parent's threads. If the parent ever had more than one, or descends from a
/// process that had, these objects start over in the child when it first uses or destroys them: ZQRefThreadPool::Global() makes another pool, threads are idle, pools have
/// no workers and no tasks, and a task pool is as if it were just made, to be bound again. Callbacks do not run for what
/// the parent had queued; that and its memory is left alone. So a child may work on, call `exit(3)` or `exec`; a
/// callback, though, that forks must not return in the child, and handlers of `pthread_atfork(3)` use none of this. All this is for `fork(2)` only, and for children that share no
/// memory with their parent.
///
/// @code
/// void Work(void* data, void*) { std::unique_ptr<Job> job(static_cast<Job*>(data)); job->Run(); }
/// void Drop(void* data, void*) { delete static_cast<Job*>(data); }
///
/// ZQTaskPool pool(1000, 4);                    // at most 1000 waiting, at most 4 at a time
/// pool.Init(nullptr, Work, Drop, nullptr);     // on the process-wide threads
/// if (0 != pool.Task(new Job, false)) { ... }  // not taken: the job is still the caller's
/// pool.Pause(true);                            // returns when everything queued so far is done
/// @endcode

#include "ZQDefine.h"
#include "ZQMutex.h"
#include "ZxxList.h"

#include <list>
#include <vector>

class ZQTaskPoolCore;

/// A thread that runs one function at a time and can be asked to pause, to go on and to end; it obeys when its function
/// calls TestExit(). When the function has returned, the object stays started until it is joined, detached or, after
/// Stop(), started again.
///
/// | state    | Start()                       | Suspend() | Resume()        | Stop()   | Join()         |
/// |----------|-------------------------------|-----------|-----------------|----------|----------------|
/// | idle     | started                       | -         | `false`         | -        | returns        |
/// | started  | `false`                       | paused    | `true`          | stopping | waits for idle |
/// | paused   | `false`                       | -         | started, `true` | stopping | waits for idle |
/// | stopping | waits for the end and started | -         | `false`         | -        | waits for idle |
///
/// Threads: any operation from any thread; the object must outlive the calls. Over `pthread_create(3)` with default
/// attributes. A thread's identifier is the value of its `pthread_t`; -1 means no thread.
/// @ingroup threads
class ZQ_API ZQThread
{
public:
    /// What a thread runs: it gets the thread object and the argument of Start().
    typedef void (*ThreadFunction)(ZQThread& thread, void* param);

    /// Makes an idle object; no thread is started.
    ZQThread();
    /// Asks the function to end and waits until it has. On the thread itself it does not wait: the function may delete its
    /// own object as the last thing that it does with it.
    virtual ~ZQThread();
    ZQThread(const ZQThread&) = delete;
    ZQThread& operator=(const ZQThread&) = delete;

    /// Runs `fn(*this, param)` on a new thread. After Stop() it first waits until the earlier run has ended.
    /// @return `false` if a run is going on that nobody asked to stop, if another thread is joining or restarting this
    ///         object, or if the platform has no thread to give: then the object is idle
    bool Start(ThreadFunction fn, void* param);
    /// Asks the function to end, also when it is paused. Does not wait.
    void Stop();
    /// For the running function: waits while it is asked to pause.
    /// @return `true` if the function has to return now, also on an object that is not started
    bool TestExit();
    /// Asks a running function to pause at its next TestExit().
    void Suspend();
    /// Ends a pause. @return whether the thread is running and not asked to stop
    bool Resume();
    /// Whether the thread is running and asked to pause.
    bool IsPause();
    /// Whether the thread was started and not asked to stop. It stays `true` when the function returns by itself, until
    /// Join() or Detach().
    bool IsRunning();
    /// Waits until the function has returned and makes the object idle. It does not ask the function to end: call Stop()
    /// first. On the thread itself it detaches instead of waiting, which it must not do while another thread joins or
    /// restarts it; while another thread joins, it waits for that one. A cancellation point: a join that is cancelled
    /// has changed nothing.
    void Join();
    /// Lets the thread go its own way and makes the object idle. Takes no lock: not for use while another thread starts or
    /// joins this object. GetThreadID() keeps its value.
    void Detach();
    /// The waiting part of Join() and of a restart, without lock or states; not for callers.
    void JoinInner();
    /// The identifier of the thread, -1 before Start() and after Join(). Takes no lock, so during Start() it may be -1.
    long GetThreadID() const;
    /// The identifier of the calling thread. Over `pthread_self(3)`.
    static long GetCurrentThreadID();
    /// Keeps a pointer for the owner of this object, who also keeps its readers and writers apart.
    void SetUserData(void* pUserData);
    /// The pointer that SetUserData() stored, null before.
    void* GetUserData() const;

private:
    struct _StruStart;

    static void* ThreadMain(void* pStart);
    void AfterFork();
    void JoinUnlocked() ZQ_REQUIRES(m_mutex);
    pthread_t TakeHandle();
    bool HasExactly(int nMask, int nBits) const;
    void ChangeStatus(int nClear, int nSet);

    pthread_t m_hThread;
    int m_nStatus;  // written under m_mutex, but for Detach()
    ZQMutex m_mutex;
    ZQCond m_cond;
    ThreadFunction m_pfnProc;
    void* m_pParam;
    void* m_pUserData;
    long m_lThreadID;  // read without a lock
    int m_nFork;       // in which process it was made
};

/// Worker threads of one owner, with a queue of functions to run, first in first out.
///
/// A worker is started when a task finds none idle and fewer than the maximum are alive; it waits for more until the pool
/// is stopped. The minimum and the idle time are kept and have no effect: use ZQRefThreadPool where workers are to end
/// when there is nothing to do.
///
/// Threads: any operation from any thread, also from inside a task, but JoinAll() and the destructor not from the pool's
/// own workers. A task must neither throw nor end its thread. Workers are called `ZQPool`.
/// @ingroup threads
class ZQ_API ZQThreadPool
{
public:
    /// A task: it gets its argument.
    typedef void (*TaskFunction)(void* arg);

    /// Makes a pool that holds no thread yet. Throws `std::bad_alloc` without memory.
    /// @param nMinThreads   kept, without effect
    /// @param nMaxThreads   the most workers; with 0 or less tasks wait until AddCapacity()
    /// @param nIdleSeconds  kept, without effect
    ZQThreadPool(int nMinThreads, int nMaxThreads, int nIdleSeconds);
    /// Tells the workers to end, waits for the running tasks and drops the queued ones without notice: to have them done, wait
    /// until GetWaits() is 0 first.
    ~ZQThreadPool();
    ZQThreadPool(const ZQThreadPool&) = delete;
    ZQThreadPool& operator=(const ZQThreadPool&) = delete;

    /// Queues a task.
    /// @param fn   not null; runs on some worker, without a lock of the pool held
    /// @param arg  handed to @p fn; stays the caller's
    /// @return `false` if the pool is stopped: then nothing is queued. Ends the process if a worker is wanted and the
    ///         platform has no thread, or no memory for one, to give.
    /// @exception std::bad_alloc  no memory for the task: then nothing is queued
    bool Start(TaskFunction fn, void* arg);
    /// Whether @p threadId belongs to a worker of this pool, also to one that has ended and is not joined yet. After JoinAll()
    /// the workers have no thread, so that -1 belongs to them.
    bool IsSelfThread(long threadId);
    /// Makes @p n the most workers, if it is above 0: it replaces the maximum and does not add to it. Takes no lock; tasks
    /// that wait get a new worker when the next one is queued or taken. A lower maximum ends no worker.
    void AddCapacity(int n);
    /// The number of workers that are alive; takes no lock.
    int GetCapacity() const;
    /// The number of queued tasks.
    int GetWaits();
    /// Stops the pool for good: no task is taken any more, and the workers end after the one that they are running.
    void StopAll() ZQ_EXCLUDES(m_mutex);
    /// Waits until every worker has ended; after StopAll().
    void JoinAll() ZQ_NO_THREAD_SAFETY_ANALYSIS;

    /// @name Machinery
    /// Only the pool itself calls it.
    /// @{

    /// Starts a worker; ends the process if the platform has no thread to give.
    void AddThread() ZQ_REQUIRES(m_mutex);
    /// What a worker does.
    void ThreadEntry(ZQThread& thread);
    /// ThreadEntry() of the pool @p pPool.
    static void ThreadProxy(ZQThread& thread, void* pPool);
    /// @}

private:
    friend class ZQTimerGlobal;

    struct _StruTask
    {
        TaskFunction pfnTask;
        void* pArg;
    };

    void AfterFork() ZQ_NO_THREAD_SAFETY_ANALYSIS;
    int StartTimes(TaskFunction fn, void* arg, int n);
    void QueueTask(const _StruTask& task) ZQ_REQUIRES(m_mutex);
    void WakeOrAddThread() ZQ_REQUIRES(m_mutex);
    void RunFirstTask() ZQ_REQUIRES(m_mutex);

    const int m_nMinThreads __attribute__((unused));
    int m_nMaxThreads;  // read and written without a lock
    const int m_nIdleTimeout;
    ZQMutex m_mutex;
    ZQCond m_cond;                                                   // idle workers wait here
    std::vector<ZQThread*>* m_vecThreads ZQ_PT_GUARDED_BY(m_mutex);  // every worker ever made, owned, the oldest first
    std::list<_StruTask>* m_listTasks ZQ_PT_GUARDED_BY(m_mutex);
    bool m_bRunning;  // written under m_mutex, read by Start() before it locks
    int m_nIdleThreads ZQ_GUARDED_BY(m_mutex);
    int m_nCapacity;                                          // workers alive; written under m_mutex, read without
    std::list<_StruTask> m_listSpare ZQ_GUARDED_BY(m_mutex);  // nodes for m_listTasks, the one used last first
    int m_nFork;                                              // in which process it was made
};

/// Worker threads that several owners share, with a queue of functions to run, first in first out.
///
/// A worker is started when a task finds none idle and fewer than the maximum are alive. A worker that has found no task
/// for the idle time ends, while more than the minimum are alive, and says so in a line on standard output.
///
/// Lifetime: it is counted. Create() gives one reference, Ref() another, and the Unref() that drops the last one waits for
/// the running tasks, drops the queued ones without notice and frees the pool. That one must not happen on a worker of the
/// pool itself: it ends the process with "m_nCapacity == 0". So whoever has task pools on a private pool keeps a reference
/// of his own until they are gone.
///
/// All members are public for the classes of the library that work with them; programs use Create(), Global(), Ref(),
/// Unref(), Start() and GetCapacity().
///
/// Threads: any operation from any thread that holds a reference. Workers are called `ZQRefPool`. A task must neither throw
/// nor end its thread. A `thread_local` destructor must not call the pool on which its thread is a worker, nor a task pool on
/// it: they may be waiting for that thread to end.
/// @ingroup pools
class ZQ_API ZQRefThreadPool
{
public:
    /// A task: it gets its argument and the identifier of the thread that runs it.
    typedef void (*TaskFunction)(void* arg, long threadId);

    /// A queued task.
    struct _StruRefTask
    {
        TaskFunction pfnTask;   ///< What to run.
        void* pArg;             ///< Its argument; never freed by the pool.
        ZQTaskPoolCore* pCore;  ///< Whose task it is, for Clean(); may be null, never followed.
    };

    /// A worker's thread and the condition on which it sleeps.
    class ZQ_API MyThread : public ZQThread
    {
    public:
        MyThread();
        /// Asks the worker to end and waits for it.
        ~MyThread() override;

        /// The condition on which the worker sleeps.
        ZQCond& GetCond();
        /// Wakes the worker.
        void Signal();

        ZQCond m_cond;  ///< The condition on which the worker sleeps.
    };

    typedef StruZxxListInnerNode<_StruRefTask> TaskNode;  ///< A node of the queue of tasks.
    typedef StruZxxListInnerNode<void*> TPLTaskNode;      ///< A node of a task pool's queue.
    typedef StruZxxListInnerNode<MyThread*> ThreadNode;   ///< A node of the lists of workers.

    /// Makes a pool that holds no thread yet.
    /// @param nMaxThreads   the most workers; 0 or less means 2 for each processor and 1 more, but 16 to 64. The minimum
    ///                      is half of it plus 1.
    /// @param nIdleSeconds  the idle time after which surplus workers end; 0 or less: never. Kept in milliseconds of 32 bits,
    ///                      in which values beyond 2147483 either way wrap.
    /// @return the pool with one reference, which the caller drops with Unref(); null without memory
    static ZQRefThreadPool* Create(int nMaxThreads, int nIdleSeconds);
    /// The process-wide pool, made when the library is loaded, and anew when it is missing. It has the automatic maximum
    /// and an idle time of 120 seconds.
    ///
    /// The caller gets no reference: the pool lives until ZQThreadPoolGlobalCleanup() or until the library is unloaded,
    /// and it is the caller's care that neither happens meanwhile. A task on it must not call `exit(3)`, which would destroy
    /// the pool on one of its own workers.
    static ZQRefThreadPool* Global();

    /// Makes a pool with one reference; use Create().
    ZQRefThreadPool(int nMinThreads, int nMaxThreads, int nIdleSeconds);
    /// Waits for the running tasks and drops the queued ones; called by Unref().
    ~ZQRefThreadPool();
    ZQRefThreadPool(const ZQRefThreadPool&) = delete;
    ZQRefThreadPool& operator=(const ZQRefThreadPool&) = delete;

    /// Adds a reference.
    void Ref();
    /// Drops a reference; the last one frees the pool, see the class.
    void Unref();
    /// Queues a task that belongs to a task pool.
    /// @param pfnTask  not null; runs on some worker, without a lock of the pool held
    /// @param pArg     stays the caller's, who keeps it until the task has run or Clean() has returned it
    /// @param pCore    whose task it is, or null
    /// @return `false` if the pool is being destroyed: then nothing is queued. Ends the process without memory, and if a
    ///         worker is wanted and the platform has no thread to give.
    bool Start(TaskFunction pfnTask, void* pArg, ZQTaskPoolCore* pCore);
    /// Queues a task that belongs to nobody.
    bool Start(TaskFunction pfnTask, void* pArg);
    /// The number of workers that are alive; takes no lock.
    int GetCapacity() const;

    /// @name For task pools
    /// @{

    /// Moves the queued tasks of one task pool, in their order, to the end of @p listOut; they will not run.
    /// @param pCore    whose tasks
    /// @param listOut  gives its nodes back by FreeCleanResult() alone
    void Clean(ZQTaskPoolCore* pCore, ZxxListInner<_StruRefTask>& listOut);
    /// Takes the nodes back that Clean() has moved to @p list.
    void FreeCleanResult(ZxxListInner<_StruRefTask>& list);
    /// A node for a task pool's queue, linked to itself, from the cache or the heap; null without memory.
    TPLTaskNode* GetTPLTaskNode();
    /// Takes such a node, in no list, into the cache, or frees it when the cache holds 200000 nodes.
    void FreeTPLTaskNode(TPLTaskNode* node);
    /// @}

    /// @name Node functions
    /// With the types that the lists ask for.
    /// @{

    /// A task node from the heap, zeroed, linked to itself; null without memory.
    static TaskNode* NewTaskNode(void*);
    /// Unlinks @p node if it is linked and frees it.
    static void DelTaskNode(TaskNode* node, void*);
    /// The last node of @p cache, a list of spare nodes, or one from the heap.
    static TaskNode* CallocTaskNodeFromCache(void* cache);
    /// Puts @p node first into @p cache. A cache of 100000 nodes takes no more: the node is then dropped, not freed.
    static void FreeTaskNodeToCache(TaskNode* node, void* cache);
    /// A task pool's node from the heap, linked to itself; null without memory.
    static TPLTaskNode* NewTPLTaskNode(void*);
    /// Unlinks @p node if it is linked and frees it.
    static void DelTPLTaskNode(TPLTaskNode* node, void*);
    /// @}

    /// @name Machinery
    /// Only the pool itself calls it.
    /// @{

    /// Tells every worker to end after the task that it is running.
    void StopAll() ZQ_EXCLUDES(m_mutex);
    /// Waits until every worker has ended.
    void JoinAll() ZQ_NO_THREAD_SAFETY_ANALYSIS;
    /// Starts a worker; ends the process if the platform has no thread to give.
    void AddThread() ZQ_REQUIRES(m_mutex);
    /// What a worker does.
    void ThreadEntry(ZQThread& thread);
    /// ThreadEntry() of the pool @p pPool.
    static void ThreadProxy(ZQThread& thread, void* pPool);
    /// In a forked child, forgets the parent's threads and tasks; every operation begins with it.
    void AfterFork() ZQ_NO_THREAD_SAFETY_ANALYSIS;
    /// @}

    const int m_nMinThreads;   ///< No worker ends for idleness while not more than these are alive.
    const int m_nMaxThreads;   ///< The most workers alive.
    const int m_nIdleTimeout;  ///< Milliseconds; 0 or less: workers never end for idleness.
    ZQMutex m_mutex;           ///< Guards what says so below.
    ZxxListInner<MyThread*> m_listThreads ZQ_GUARDED_BY(m_mutex);  ///< Every worker ever made, owned, the oldest first.
    ZxxListInner<MyThread*> m_listIdle ZQ_GUARDED_BY(m_mutex);     ///< Who waits for work; the nodes are the workers'.
    ZxxListInner<_StruRefTask> m_listTasks ZQ_GUARDED_BY(m_mutex);      ///< What waits to be run.
    ZxxListInner<_StruRefTask> m_listTaskCache ZQ_GUARDED_BY(m_mutex);  ///< Spare nodes of m_listTasks.
    bool m_bRunning;     ///< Written under m_mutex, read by Start() before it locks.
    int m_nCapacity;     ///< Workers alive; written under m_mutex, read without.
    long m_nRefs;        ///< References; changed by the atomic functions alone.
    ZQMutex m_mutexTPL;  ///< Guards m_listTPLCache; no lock is taken under it.
    ZxxListInner<void*> m_listTPLCache ZQ_GUARDED_BY(m_mutexTPL);  ///< Spare nodes of the task pools' queues.
    int m_nWakes;  ///< Workers picked for a task and not signalled yet; changed by atomic additions alone.
    int m_nFork;   ///< In which process it was made.
};

/// A queue of work. Each piece of data is handed to one callback, once, on threads of a shared pool; at most a fixed number
/// of a task pool's tasks run at a time. With one, they run one after the other, in the order of the queue.
///
/// | state   | reached by                  | Task()               | Resume() |
/// |---------|-----------------------------|----------------------|----------|
/// | created | construction                | -2                   | 0        |
/// | ready   | Init(); Resume() of paused  | 0                    | 0        |
/// | paused  | Pause() of ready or created | -4; -2 before Init() | 0        |
/// | closed  | Uninit() of ready           | -1                   | -1       |
///
/// A task is given to `fnTask`, which owns the data from then on, or to `fnFree`, when it is removed without having run:
/// each piece of data meets exactly one of the two, once. An exception from either ends the process. Without
/// memory for a slot or a waiting task the process ends with "pNode".
///
/// Threads: any operation from any thread, also from inside a task of the same pool, where the operations that wait do not
/// wait for their own task. The pool may be destroyed from inside a task. Destroying it while another thread is inside
/// one of its operations, Pause() and Uninit() included, is the caller's error.
/// @ingroup pools
class ZQ_API ZQTaskPool
{
public:
    /// What is done with a task's data; @p user is the pointer given to Init().
    typedef void (*DataFunction)(void* data, void* user);

    /// Makes a task pool that is not bound to threads yet.
    /// @param lMaxWaitTasks  the most waiting tasks; 0 or less: no bound
    /// @param iThreadNums    the most tasks that run at a time; less than 1 ends the process with "iThreadNums>0"
    ZQTaskPool(long lMaxWaitTasks, int iThreadNums);
    /// Closes the pool, waits for the running tasks, but not for one that it is called from, and gives waiting tasks to
    /// `fnFree`. A paused pool is not waited for: a task that runs on, the one that paused it, finishes the destruction.
    ~ZQTaskPool();
    ZQTaskPool(const ZQTaskPool&) = delete;
    ZQTaskPool& operator=(const ZQTaskPool&) = delete;

    /// Binds the pool to threads, once in its life.
    /// @param pPool   whose threads to use, referenced until the end of this pool; null means ZQRefThreadPool::Global()
    /// @param fnTask  runs a task, on a thread of @p pPool or on one that drains the queue; called without a lock
    /// @param fnFree  releases the data of a task that will not run; called with this pool's lock held, so it must not call
    ///                this pool. Null: such data are forgotten.
    /// @param user    handed to both
    /// @return 0; -5 if @p fnTask is null or the pool was bound before; -1 if the constructor had no memory
    int Init(ZQRefThreadPool* pPool, DataFunction fnTask, DataFunction fnFree, void* user);
    /// Whether the pool is bound and not closed.
    bool IsInit();
    /// Whether the pool is bound and takes tasks: neither closed nor paused.
    bool IsReady();
    /// Queues a task.
    /// @param data     handed to `fnTask`; the caller's as before unless the result is 0
    /// @param bUrgent  `true` puts it first, before earlier urgent ones too; `false` last
    /// @return 0; -1 closed, or the constructor had no memory; -2 not bound; -3 the bound of waiting tasks is reached; -4 paused
    int Task(void* data, bool bUrgent);
    /// Stops the work: tasks are refused, waiting ones stay for Resume(), and running ones are waited for. Pausing a pool
    /// that is paused or closed only waits until a pause in progress has ended.
    ///
    /// A Resume() meanwhile starts the work again; this call then returns when none of the pool's tasks is running, which may
    /// take long where tasks keep coming. Until it has returned, neither another Pause() nor Uninit() nor the destruction
    /// stops the pool: let one thread pause and resume.
    /// @param bDrain  `true` also has the waiting tasks run first, partly on the calling thread
    void Pause(bool bDrain);
    /// Starts the work again after Pause().
    /// @return 0; -1 closed, or the constructor had no memory
    int Resume();
    /// Removes every waiting task by way of `fnFree`.
    void Clean();
    /// The number of waiting tasks.
    long GetWaitTaskCount();
    /// Closes the pool as Pause() pauses it, then removes what still waits by way of `fnFree`. It cannot be bound again.
    ///
    /// A paused pool is not closed by this, it only loses its waiting tasks: Resume() opens it again. Call Resume() first to
    /// close it for good.
    /// @param bDrain  `true` has the waiting tasks run first
    void Uninit(bool bDrain);

private:
    ZQTaskPoolCore* Core();

    ZQTaskPoolCore* m_pCore;  // another one in a forked child, read without a lock
};

extern "C"
{
    /// @addtogroup pools
    /// @{

    /// Makes the process-wide pool if there is none.
    /// Threads: callable from any, also several at a time.
    ZQ_API void ZQThreadPoolGlobalInit();
    /// Drops the library's reference to the process-wide pool, which frees it unless a task pool still refers to it; then it
    /// waits for the running tasks. ZQRefThreadPool::Global() makes a new one.
    /// Threads: callable from any, but for the pool's own workers. It is the caller's care that nobody still uses what
    /// ZQRefThreadPool::Global() has returned earlier, nor binds a task pool to it at this moment.
    ZQ_API void ZQThreadPoolGlobalCleanup();
    /// @}
}

#endif
