#include "ZQMutex.h"

#include "ZQCheck.h"

namespace
{
constexpr int RecursiveLockLine = 55;  // the line that the documented report of a recursive lock names
}

ZQMutex::ZQMutex() : m_nLocked(0)
{
    MutexCheck.AbortUnless(0 == pthread_mutex_init(&m_hOS, nullptr), "0==pthread_mutex_init(&m_hOS,NULL)",
                           "ZQMutex::ZQMutex pthread_mutex_init fail.");
}

ZQMutex::~ZQMutex()
{
    pthread_mutex_destroy(&m_hOS);
}

void ZQMutex::LockFailed(bool refused)
{
    if (refused)
    {
        MutexCheck.Abort("0==pthread_mutex_lock(&m_hOS)", "ZQMutex::Lock pthread_mutex_lock fail.\n");
    }
    MutexCheck.Abort("m_nLocked==0", "ZQMutex::Lock Recursive lock", RecursiveLockLine);
}

void ZQMutex::UnlockFailed(bool refused)
{
    if (refused)
    {
        MutexCheck.Abort("0==pthread_mutex_unlock(&m_hOS)", "ZQMutex::Unlock pthread_mutex_unlock fail.\n");
    }
    MutexCheck.Abort("0 != m_nLocked", "ZQMutex::Unlock unlock no locked");
}

bool ZQMutex::TryLock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    if (0 != pthread_mutex_trylock(&m_hOS))
    {
        return false;
    }
    MutexCheck.AbortUnless(m_nLocked == 0, "m_nLocked==0", "ZQMutex::TryLock Recursive lock");
    m_nLocked = 1;
    return true;
}
