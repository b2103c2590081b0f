#ifndef ZQREFTHREADPOOLGLOBAL_H
#define ZQREFTHREADPOOLGLOBAL_H

#include "ZQThreadPool.h"

/// Holds the library's reference to the process-wide pool.
class ZQRefThreadPoolGlobal
{
public:
    /// Makes the pool; it starts no thread.
    ZQRefThreadPoolGlobal();
    ~ZQRefThreadPoolGlobal();
    ZQRefThreadPoolGlobal(const ZQRefThreadPoolGlobal&) = delete;
    ZQRefThreadPoolGlobal& operator=(const ZQRefThreadPoolGlobal&) = delete;

    /// The pool, made now if there is none.
    ZQRefThreadPool* Get();
    /// Drops the reference; of several concurrent calls, one does.
    void Cleanup();

private:
    void AfterFork();

    ZQRefThreadPool* m_pObj;  // published by compare-and-exchange, read with acquire
    int m_nFork;              // in which process it was made
};

/// The only one; defined in ZQGlobals.cpp.
extern ZQRefThreadPoolGlobal _s_csGlobal;

#endif
