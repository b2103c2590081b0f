#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace
{
std::atomic<bool> s_bRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the handler may do nothing else");

void Remember(int)
{
    s_bRequested.store(true, std::memory_order_relaxed);
}

void SetHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    struct sigaction hangup;
    if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)  // nohup asks to be left alone
    {
        sigaction(SIGHUP, &action, nullptr);
    }
}
}  // namespace

void Interrupt::Catch()
{
    SetHandler(Remember);
}

void Interrupt::Release()
{
    if (!Requested())
    {
        SetHandler(SIG_DFL);
    }
}

bool Interrupt::Requested()
{
    return s_bRequested.load(std::memory_order_relaxed);
}
