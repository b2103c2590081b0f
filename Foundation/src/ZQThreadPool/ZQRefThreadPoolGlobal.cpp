#include "ZQRefThreadPoolGlobal.h"

#include "ZQCheck.h"
#include "ZQFork.h"
#include "ZQRelaxed.h"

namespace
{
constexpr int AutomaticThreads = 0;
constexpr int IdleSeconds = 120;
}  // namespace

ZQRefThreadPoolGlobal::ZQRefThreadPoolGlobal()
    : m_pObj(ZQRefThreadPool::Create(AutomaticThreads, IdleSeconds)), m_nFork(ZQFork::Number())
{
    ThreadPoolCheck.CrashUnless(m_pObj != nullptr, "m_pObj");
}

ZQRefThreadPoolGlobal::~ZQRefThreadPoolGlobal()
{
    Cleanup();
}

/// Leaves the parent's pool alone: its workers are not here to be joined.
void ZQRefThreadPoolGlobal::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this] { m_pObj = nullptr; });
}

ZQRefThreadPool* ZQRefThreadPoolGlobal::Get()
{
    AfterFork();
    for (;;)
    {
        ZQRefThreadPool* pPool = ZQAcquireLoad(m_pObj);
        if (pPool != nullptr)
        {
            return pPool;
        }
        pPool = ZQRefThreadPool::Create(AutomaticThreads, IdleSeconds);
        ThreadPoolCheck.CrashUnless(pPool != nullptr, "m_pObj");
        if (__sync_bool_compare_and_swap(&m_pObj, nullptr, pPool))
        {
            return pPool;  // not read again: somebody may be cleaning up at the same time
        }
        pPool->Unref();  // another thread was first
    }
}

void ZQRefThreadPoolGlobal::Cleanup()
{
    AfterFork();
    ZQRefThreadPool* pPool = __atomic_exchange_n(&m_pObj, nullptr, __ATOMIC_ACQ_REL);
    if (pPool != nullptr)
    {
        pPool->Unref();
    }
}

ZQRefThreadPool* ZQRefThreadPool::Global()
{
    return _s_csGlobal.Get();
}

void ZQThreadPoolGlobalInit()
{
    _s_csGlobal.Get();
}

void ZQThreadPoolGlobalCleanup()
{
    _s_csGlobal.Cleanup();
}
