#ifndef ZQMUTEX_H
#define ZQMUTEX_H

/// @file
/// Locks and waiting.
///
/// | type                                | use it for                                                              |
/// |-------------------------------------|-------------------------------------------------------------------------|
/// | ZQMutex with ZQAutoMutex            | state shared by the threads of one process: the usual choice            |
/// | ZQMutexRW with ZQAutoReadLock and ZQAutoWriteLock | state that is read much more often than written           |
/// | ZQCond                              | waiting until such state changes, with or without a time limit          |
/// | ZQProcessMutex                      | a resource shared by several processes                                  |
///
/// Threads: every operation may be called from any thread. Misuse (locking twice, unlocking what is free) and failing
/// platform calls end the process with a report on standard error, but where a result says otherwise: the try-locks, timed
/// waits and ZQProcessMutex::Lock(). An object must not be destroyed while a thread holds it or waits on it.
///
/// @code
/// ZQMutex mutex;
/// ZQCond changed;
/// bool ready = false;
///
/// void Producer() { ZQAutoMutex lock(mutex); ready = true; changed.Signal(); }
/// void Consumer() { ZQAutoMutex lock(mutex); while (!ready) changed.WaitTimeout(mutex, 1000); }
/// @endcode

#include "ZQDefine.h"

#include <pthread.h>

/// A lock for the threads of one process, not recursive. It keeps a mark of its own whether it is held, and ends the
/// process with a report where the mark and a call disagree, instead of going on undefined.
///
/// | state | Lock()                             | TryLock()    | Unlock()         |
/// |-------|------------------------------------|--------------|------------------|
/// | free  | held                               | held, `true` | ends the process |
/// | held  | waits; for ever if the holder asks | `false`      | free             |
///
/// Threads: any operation from any thread; its holder unlocks it. Lifetime: free when destroyed, never copied. Wait on it
/// only with ZQCond, which keeps the mark true while the waiter sleeps. Over `pthread_mutex_t` with default attributes.
/// @ingroup locks
class ZQ_API ZQ_CAPABILITY("mutex") ZQMutex
{
public:
    /// Makes a free lock; ends the process if `pthread_mutex_init(3)` fails.
    ZQMutex();
    /// Destroys the lock, which must be free.
    ~ZQMutex();
    ZQMutex(const ZQMutex&) = delete;
    ZQMutex& operator=(const ZQMutex&) = delete;

    /// Waits until the lock is free and takes it. Ends the process if the mark says that it is held all the same.
    void Lock() ZQ_ACQUIRE();
    /// Gives the lock back; ends the process if nobody holds it.
    void Unlock() ZQ_RELEASE();
    /// Takes the lock if it is free; never waits. Ends the process if the mark says that it is held all the same.
    /// @return `true` if the caller holds it now, `false` if somebody else does or the platform call failed
    bool TryLock() ZQ_TRY_ACQUIRE(true);

private:
    friend class ZQCond;

    /// Ends the process after a Lock() that the platform refused, or that the mark belies.
    [[noreturn]] __attribute__((cold)) static void LockFailed(bool refused);
    /// Ends the process after an Unlock() of what is free, or that the platform refused.
    [[noreturn]] __attribute__((cold)) static void UnlockFailed(bool refused);

    int m_nLocked;
    pthread_mutex_t m_hOS;
};

// Here, since a free lock costs little more than the call of a function. The bodies are part of the programs that were built
// with them, as the members are.

inline void ZQMutex::Lock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    if (__builtin_expect(pthread_mutex_lock(&m_hOS) != 0, 0))
    {
        LockFailed(true);
    }
    if (__builtin_expect(m_nLocked != 0, 0))
    {
        LockFailed(false);
    }
    m_nLocked = 1;
}

inline void ZQMutex::Unlock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    if (__builtin_expect(m_nLocked == 0, 0))
    {
        UnlockFailed(false);
    }
    --m_nLocked;
    if (__builtin_expect(pthread_mutex_unlock(&m_hOS) != 0, 0))
    {
        UnlockFailed(true);
    }
}

/// Holds a ZQMutex from its construction to its destruction.
/// @ingroup locks
class ZQ_API ZQ_SCOPED_CAPABILITY ZQAutoMutex
{
public:
    /// Locks @p mutex, which must outlive this object.
    explicit ZQAutoMutex(ZQMutex& mutex) ZQ_ACQUIRE(mutex) : m_mutex(mutex)
    {
        m_mutex.Lock();
    }
    /// Unlocks it.
    ~ZQAutoMutex() ZQ_RELEASE()
    {
        m_mutex.Unlock();
    }
    ZQAutoMutex(const ZQAutoMutex&) = delete;
    ZQAutoMutex& operator=(const ZQAutoMutex&) = delete;

private:
    ZQMutex& m_mutex;
};

/// A lock that either one writer or any number of readers hold. The holder of the write lock may not ask again, for either
/// side: that ends the process.
///
/// Release what LockWrite() took with Unlock(), as the guards do: Unlock() alone lowers the count of writers. After
/// UnlockWrite() the count stays one too high: the next Unlock() of a writer ends the process, that of a reader takes the count
/// for its own.
///
/// Readers that keep coming can hold a writer back for ever, and two of them are enough if one always comes before the other
/// goes: no attribute of the platform's lock is set, and its default prefers readers. The more readers, the longer the wait. Use
/// a ZQMutex where writers must not wait long.
///
/// Threads: any operation from any thread. Over `pthread_rwlock_t` with default attributes.
/// @ingroup locks
class ZQ_API ZQ_CAPABILITY("mutex") ZQMutexRW
{
public:
    /// Makes a free lock; ends the process if `pthread_rwlockattr_init(3)` or `pthread_rwlock_init(3)` fails.
    ZQMutexRW();
    /// Destroys the lock, which must be free.
    ~ZQMutexRW();
    ZQMutexRW(const ZQMutexRW&) = delete;
    ZQMutexRW& operator=(const ZQMutexRW&) = delete;

    /// Waits until no writer holds the lock and joins the readers.
    void LockRead() ZQ_ACQUIRE_SHARED();
    /// Waits until nobody holds the lock, takes it for the caller alone and counts the writer.
    void LockWrite() ZQ_ACQUIRE();
    /// Gives back what LockRead() took.
    void UnlockRead() ZQ_RELEASE_SHARED();
    /// Gives the lock back without lowering the count of writers: after LockWrite() call Unlock() instead.
    void UnlockWrite() ZQ_RELEASE();
    /// Gives back what the caller holds, for reading or for writing. Ends the process if the count of writers is then not
    /// 0, which is the trace of an earlier UnlockWrite().
    void Unlock() ZQ_RELEASE_GENERIC();

private:
    struct _StruReaders;

    _StruReaders* m_pReaders;
    int m_isWLocked;
    pthread_rwlock_t m_hOS;
    pthread_rwlockattr_t m_attr;
};

/// Holds a ZQMutexRW for reading from its construction to its destruction.
/// @ingroup locks
class ZQ_API ZQ_SCOPED_CAPABILITY ZQAutoReadLock
{
public:
    /// Locks @p lock for reading; it must outlive this object.
    explicit ZQAutoReadLock(ZQMutexRW& lock) ZQ_ACQUIRE_SHARED(lock);
    /// Unlocks it with ZQMutexRW::Unlock().
    ~ZQAutoReadLock() ZQ_RELEASE_GENERIC();
    ZQAutoReadLock(const ZQAutoReadLock&) = delete;
    ZQAutoReadLock& operator=(const ZQAutoReadLock&) = delete;

private:
    ZQMutexRW& m_lock;
};

/// Holds a ZQMutexRW for writing from its construction to its destruction.
/// @ingroup locks
class ZQ_API ZQ_SCOPED_CAPABILITY ZQAutoWriteLock
{
public:
    /// Locks @p lock for writing; it must outlive this object.
    explicit ZQAutoWriteLock(ZQMutexRW& lock) ZQ_ACQUIRE(lock);
    /// Unlocks it with ZQMutexRW::Unlock(), which lowers the count of writers.
    ~ZQAutoWriteLock() ZQ_RELEASE_GENERIC();
    ZQAutoWriteLock(const ZQAutoWriteLock&) = delete;
    ZQAutoWriteLock& operator=(const ZQAutoWriteLock&) = delete;

private:
    ZQMutexRW& m_lock;
};

/// A condition that threads wait for while they hold a ZQMutex. Time limits run on the monotonic clock, so setting the
/// wall clock does not disturb them; that clock stands still while the machine is suspended.
///
/// A wait can end without a signal, and the condition variable of some platform releases can lose one: wait in a loop
/// that looks at the state, and prefer WaitTimeout() with a limit that you can afford to lose.
///
/// Threads: any operation from any thread; Signal() and Broadcast() with or without the mutex held. Waits are
/// cancellation points; a thread that is cancelled in one holds the mutex again while its clean-up runs. In a forked child
/// the condition has no waiters, whatever the parent's threads were doing; the mutex is as it was. Over
/// `pthread_cond_t` with `CLOCK_MONOTONIC`.
/// @ingroup locks
class ZQ_API ZQCond
{
public:
    /// How a wait with a limit ended.
    enum CondErrno
    {
        CondSignaled = 0,   ///< Woken, perhaps without a signal: look at the state.
        CondFailed = -1,    ///< The platform refused the wait, for instance for a limit that it cannot express.
        CondTimedOut = -2,  ///< The limit passed.
    };

    /// Makes a condition without waiters; ends the process if a platform call fails.
    ZQCond();
    /// Destroys the condition; nobody may wait on it.
    ~ZQCond();
    ZQCond(const ZQCond&) = delete;
    ZQCond& operator=(const ZQCond&) = delete;

    /// Gives @p mutex back, sleeps until woken and takes it again.
    /// @param mutex  held by the caller; free for others while the caller sleeps
    void Wait(ZQMutex& mutex) ZQ_REQUIRES(mutex);
    /// Wait() with a limit.
    /// @param mutex  held by the caller; held again on return, whatever the result
    /// @param ms     milliseconds from now; 0 and whole negative seconds have passed at once, and a negative value whose
    ///               rest leads before the start of the current second is refused by the platform
    /// @return #CondSignaled, #CondTimedOut or #CondFailed
    CondErrno WaitTimeout(ZQMutex& mutex, int ms) ZQ_REQUIRES(mutex);
    /// Wakes one waiter, if there is one; ends the process if the platform call fails.
    void Signal();
    /// Wakes all waiters; ends the process if the platform call fails.
    void Broadcast();

private:
    void AfterFork();

    pthread_cond_t m_hOS;
    pthread_condattr_t m_attr;
    int m_nFork;  // in which process it was made
};

/// A lock between processes, and between the threads of each of them. Its key is the path of a lock file, which all
/// processes must spell so that it leads to the same file.
///
/// The file is created with mode 0200 where it is missing; it is never written, never removed, and its lock goes with the
/// process. It is a POSIX record lock, so closing *any* other descriptor of the same file in this process drops it:
/// make one object a key and process, and open the file nowhere else. A forked child does not hold it, and `exec` drops it,
/// since the file is opened close-on-exec.
///
/// Threads: any operation from any thread; the thread that locked unlocks. Not recursive. Over `lockf(3)`.
/// @ingroup locks
class ZQ_API ZQ_CAPABILITY("mutex") ZQProcessMutex
{
public:
    /// Opens the lock file, creating it if it is missing; ends the process if that fails.
    /// @param szKey  path of the file, relative to the current directory or absolute; null ends the process
    explicit ZQProcessMutex(const char* szKey);
    /// Closes the file, which drops the lock if it is held; the file stays.
    ~ZQProcessMutex();
    ZQProcessMutex(const ZQProcessMutex&) = delete;
    ZQProcessMutex& operator=(const ZQProcessMutex&) = delete;

    /// Waits until neither a thread of this process nor another process holds the lock, and takes it.
    /// @return 0, or -1 with `errno` of `lockf(3)`: then only the threads of this process are kept out. Unlock() is due
    ///         in either case.
    int Lock() ZQ_ACQUIRE();
    /// Takes the lock if it is free; never waits.
    /// @return `true` if the caller holds it now, else `false`, with nothing held
    bool TryLock() ZQ_TRY_ACQUIRE(true);
    /// Gives the lock back.
    void Unlock() ZQ_RELEASE();

private:
    int m_ZQProcessMutex;
    ZQMutex m_mutex;
};

#endif
