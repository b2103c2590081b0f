#include "ZQMutex.h"

#include "ZQCheck.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr mode_t LockFileMode = 0200;  // never read, so nobody may

int OpenLockFile(const char* szKey)
{
    const int fd = open(szKey, O_RDWR | O_CREAT | O_CLOEXEC, LockFileMode);
    if (fd == -1 && errno == EACCES)
    {
        // An ordinary user may not read a file of that mode, even his own: the second process gets here.
        return open(szKey, O_WRONLY | O_CLOEXEC);
    }
    return fd;
}
}  // namespace

ZQProcessMutex::ZQProcessMutex(const char* szKey) : m_ZQProcessMutex(0)
{
    MutexCheck.AbortUnless(szKey != nullptr, "szKey", "ZQProcessMutex::ZQProcessMutex szkey is null!");
    m_ZQProcessMutex = OpenLockFile(szKey);
    MutexCheck.AbortUnless(m_ZQProcessMutex != -1, "m_ZQProcessMutex!=-1", "ZQProcessMutex::ZQProcessMutex open fail!");
}

ZQProcessMutex::~ZQProcessMutex()
{
    if (m_ZQProcessMutex != -1)
    {
        close(m_ZQProcessMutex);
    }
}

int ZQProcessMutex::Lock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(m_ZQProcessMutex != -1, "m_ZQProcessMutex!=-1", "ZQProcessMutex::Lock process mutex is -1!");
    m_mutex.Lock();  // first: record locks do not keep the threads of one process apart
    try
    {
        return lockf(m_ZQProcessMutex, F_LOCK, 0);
    }
    catch (...)
    {
        m_mutex.Unlock();  // cancelled in the wait
        throw;
    }
}

bool ZQProcessMutex::TryLock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(m_ZQProcessMutex != -1, "m_ZQProcessMutex!=-1",
                           "ZQProcessMutex::TryLock process mutex is -1!");
    if (!m_mutex.TryLock())
    {
        return false;
    }
    if (lockf(m_ZQProcessMutex, F_TLOCK, 0) >= 0)
    {
        return true;
    }
    m_mutex.Unlock();
    return false;
}

void ZQProcessMutex::Unlock() ZQ_NO_THREAD_SAFETY_ANALYSIS
{
    MutexCheck.AbortUnless(m_ZQProcessMutex != -1, "m_ZQProcessMutex!=-1",
                           "ZQProcessMutex::Unlock process mutex is -1!");
    (void)lockf(m_ZQProcessMutex, F_ULOCK, 0);
    m_mutex.Unlock();
}
