#ifndef ZQWORKERWAKE_H
#define ZQWORKERWAKE_H

#include "ZQThreadPool.h"

/// Queues a task of a shared pool, and wakes the worker picked for it when it goes out of scope: a worker that is woken
/// under a lock runs into it at once, which costs two more switches of threads.
///
/// Whoever declares it before he takes a lock wakes after he has given it back. A pool that is being destroyed waits for the
/// wake, so nobody has to hold a reference for it.
class ZQWorkerWake
{
public:
    ZQWorkerWake() : m_pPool(nullptr), m_pWorker(nullptr)
    {
    }
    ~ZQWorkerWake();
    ZQWorkerWake(const ZQWorkerWake&) = delete;
    ZQWorkerWake& operator=(const ZQWorkerWake&) = delete;

    /// Queues @p task, at most once for each object.
    /// @return `false` if the pool is stopped; then nothing is queued
    bool Queue(ZQRefThreadPool& pool, const ZQRefThreadPool::_StruRefTask& task);

    /// Waits until no worker of @p pool, which is stopped, is about to be woken.
    static void WaitForAll(const ZQRefThreadPool& pool);

private:
    ZQRefThreadPool* m_pPool;  // null while there is nobody to wake
    ZQRefThreadPool::MyThread* m_pWorker;
};

#endif
