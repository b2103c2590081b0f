#include "ZQMutex.h"

#include "ZQCheck.h"

#include <set>

/// Who reads: the place where tracking of readers would keep its state. Nothing makes one yet; the pointer and its
/// release are part of the object's layout and lifetime.
struct ZQMutexRW::_StruReaders
{
    std::set<long> setThreadIDs;
    ZQMutex mutex;
};

ZQMutexRW::ZQMutexRW() : m_pReaders(nullptr), m_isWLocked(0)
{
    MutexCheck.AbortUnless(0 == pthread_rwlockattr_init(&m_attr), "0==pthread_rwlockattr_init(&m_attr)",
                           "ZQMutexRW::ZQMutexRW pthread_rwlockattr_init fail.");
    MutexCheck.AbortUnless(0 == pthread_rwlock_init(&m_hOS, &m_attr), "0==pthread_rwlock_init(&m_hOS, &m_attr)",
                           "ZQMutexRW::ZQMutexRW pthread_rwlock_init fail.");
}

ZQMutexRW::~ZQMutexRW()
{
    pthread_rwlock_destroy(&m_hOS);
    pthread_rwlockattr_destroy(&m_attr);
    delete m_pReaders;
}

void ZQMutexRW::LockRead() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(0 == pthread_rwlock_rdlock(&m_hOS), "0==pthread_rwlock_rdlock(&m_hOS)",
                           "ZQMutexRW::LockRead pthread_rwlock_rdlock fail.");
}

void ZQMutexRW::LockWrite() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(0 == pthread_rwlock_wrlock(&m_hOS), "0==pthread_rwlock_wrlock(&m_hOS)",
                           "ZQMutexRW::LockWrite pthread_rwlock_wrlock fail.");
    ++m_isWLocked;
}

void ZQMutexRW::UnlockRead() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(0 == pthread_rwlock_unlock(&m_hOS), "0==pthread_rwlock_unlock(&m_hOS)",
                           "ZQMutexRW::UnlockRead pthread_rwlock_unlock fail.");
}

void ZQMutexRW::UnlockWrite() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(0 == pthread_rwlock_unlock(&m_hOS), "0==pthread_rwlock_unlock(&m_hOS)",
                           "ZQMutexRW::UnlockWrite pthread_rwlock_unlock fail.");
}

void ZQMutexRW::Unlock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    // Readers see 0 here, since a writer counts itself only while it holds the lock alone; but for a count that an
    // UnlockWrite() has left behind.
    if (m_isWLocked == 0)
    {
        UnlockRead();
        return;
    }
    --m_isWLocked;
    MutexCheck.AbortUnless(0 == m_isWLocked, "0==m_isWLocked", "ZQMutexRW::Unlock assert.");
    UnlockWrite();
}

ZQAutoReadLock::ZQAutoReadLock(ZQMutexRW& lock) : m_lock(lock)
{
    m_lock.LockRead();
}

ZQAutoReadLock::~ZQAutoReadLock()
{
    m_lock.Unlock();
}

ZQAutoWriteLock::ZQAutoWriteLock(ZQMutexRW& lock) : m_lock(lock)
{
    m_lock.LockWrite();
}

ZQAutoWriteLock::~ZQAutoWriteLock()
{
    m_lock.Unlock();
}
