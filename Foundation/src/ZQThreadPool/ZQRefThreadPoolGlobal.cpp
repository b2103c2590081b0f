#include "ZQRefThreadPoolGlobal.h"

#include "ZQCheck.h"
#include "ZQRelaxed.h"

namespace
{
constexpr int AutomaticThreads = 0;
constexpr int IdleSeconds = 120;
}  // namespace

ZQRefThreadPoolGlobal::ZQRefThreadPoolGlobal() : m_pObj(ZQRefThreadPool::Create(AutomaticThreads, IdleSeconds))
{
    ThreadPoolCheck.CrashUnless(m_pObj != nullptr, "m_pObj");
}

ZQRefThreadPoolGlobal::~ZQRefThreadPoolGlobal()
{
    Cleanup();
}

ZQRefThreadPool* ZQRefThreadPoolGlobal::Get()
{
    ZQRefThreadPool* pPool = ZQAcquireLoad(m_pObj);
    if (pPool == nullptr)
    {
        ZQRefThreadPool* pNew = ZQRefThreadPool::Create(AutomaticThreads, IdleSeconds);
        if (!__sync_bool_compare_and_swap(&m_pObj, nullptr, pNew) && pNew != nullptr)
        {
            pNew->Unref();  // another thread was first
        }
        pPool = ZQAcquireLoad(m_pObj);
        ThreadPoolCheck.CrashUnless(pPool != nullptr, "m_pObj");
    }
    return pPool;
}

void ZQRefThreadPoolGlobal::Cleanup()
{
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
