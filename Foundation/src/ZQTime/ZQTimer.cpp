#include "ZQTimerGlobal.h"

#include "ZQCheck.h"
#include "ZQFork.h"
#include "ZQNoCancel.h"
#include "ZQOSApi.h"
#include "ZQProbe.h"
#include "ZQRelaxed.h"

#include <new>

namespace
{
constexpr int DefaultIntervalMs = 10;
constexpr int StopPollMs = 10;
constexpr int RunCallbackLine = 1532;  // the line that the documented report of two runs at once names
}  // namespace

ZQTimer::_StruShared::_StruShared(ZQTimer* pTimer)
    : nRef(1), bRunning(false), lThreadID(0), _nOnlyOne(0), node{&node, &node, pTimer}, place(ZQTimerSchedule::NoPlace)
{
}

bool ZQTimer::_StruShared::BeginRun()
{
    ZQAutoMutex lock(mutex);
    if (ZQRelaxedLoad(bRunning))
    {
        return false;
    }
    ZQRelaxedStore(bRunning, true);
    return true;
}

void ZQTimer::_StruShared::EndRun()
{
    ZQAutoMutex lock(mutex);
    ZQReleaseStore(bRunning, false);
}

void ZQTimer::_StruShared::Release()
{
    if (ZQAtomicDec(&nRef) == 0)
    {
        ZxxListInner<ZQTimer*>::detach(&node);
        delete this;
    }
}

bool ZQTimer::ModuleInit(int nThreads)
{
    return s_csTimerGlobal.Init(nThreads);
}

void ZQTimer::ModuleUninit()
{
    s_csTimerGlobal.Uninit();
}

ZQTimer::ZQTimer(long id)
    : m_lTimerID(id), m_bStarted(false), m_nInterval(DefaultIntervalMs), m_pCallback(nullptr), m_pUser(nullptr),
      m_pShared(new (std::nothrow) _StruShared(this)), m_nFork(ZQFork::Number())
{
}

ZQTimer::~ZQTimer()
{
    const ZQNoCancel noCancel;
    AfterFork();
    do
    {
        Stop(true);
    } while (IsStarted());  // by the callback that it has waited for
    if (m_pShared != nullptr)
    {
        m_pShared->node.data = nullptr;
        m_pShared->Release();
    }
}

/// Leaves the timer stopped in a forked child.
void ZQTimer::AfterFork()
{
    ZQFork::StartOver(m_nFork, [this] {
        new (&m_mutex) ZQMutex;
        m_bStarted = false;
        m_pShared = new (std::nothrow) _StruShared(this);
        m_pCallback = m_pShared != nullptr ? m_pCallback : nullptr;
    });
}

bool ZQTimer::Init(int intervalMs, Callback callback, void* user)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (callback == nullptr || intervalMs < 0 || m_pCallback != nullptr || m_pShared == nullptr)
    {
        return false;
    }
    m_nInterval = intervalMs;
    m_pCallback = callback;
    m_pUser = user;
    return true;
}

bool ZQTimer::Start(bool fireNow)
{
    AfterFork();
    ZQAutoMutex lock(m_mutex);
    if (m_pCallback == nullptr)
    {
        return false;
    }
    if (m_bStarted)
    {
        return true;
    }
    const unsigned long start = fireNow ? 0 : ZQDateTime::GetTickCount();
    m_meter.Reset(start);
    m_bStarted = s_csTimerGlobal.Insert(this, start);
    return m_bStarted;
}

bool ZQTimer::IsStarted()
{
    ZQAutoMutex lock(m_mutex);
    return m_bStarted;
}

/// The first tick at which an interval from @p start is over.
unsigned long ZQTimer::DueAfter(unsigned long start) const
{
    return start + static_cast<unsigned long>(m_nInterval);
}

void ZQTimer::Stop(bool wait)
{
    AfterFork();
    {
        ZQAutoMutex lock(m_mutex);
        if (!m_bStarted)
        {
            return;
        }
        s_csTimerGlobal.Withdraw(this);
        m_bStarted = false;
    }
    if (!wait || ZQRelaxedLoad(m_pShared->lThreadID) == ZQThread::GetCurrentThreadID())
    {
        return;
    }
    // With acquire: the caller may free what the callback has used as soon as this returns.
    while (ZQAcquireLoad(m_pShared->bRunning) && s_csTimerGlobal.IsUp())
    {
        ZQSleep(StopPollMs);
    }
}

long ZQTimer::GetTimerID() const
{
    return m_lTimerID;
}

void ZQTimer::RunCallback()
{
    _StruShared* p = m_pShared;
    ZQAtomicInc(&p->nRef);
    const long nRuns = ZQAtomicInc(&p->_nOnlyOne);
    TimeCheck.CrashUnless(nRuns == 1, "1==ZQAtomicInc(p->_nOnlyOne)", RunCallbackLine);
    ZQRelaxedStore(p->lThreadID, ZQThread::GetCurrentThreadID());
    ZQProbe::TimerBegun(this, m_pCallback);
    m_pCallback(*this, m_pUser);
    ZQProbe::TimerDone(this);
    // The timer may be gone: nothing below touches it.
    ZQRelaxedStore(p->lThreadID, 0L);
    ZQAtomicDec(&p->_nOnlyOne);
    p->EndRun();
    p->Release();
}
