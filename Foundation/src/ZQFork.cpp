#include "ZQFork.h"

#include "ZQCheck.h"

#include <pthread.h>
#include <sys/single_threaded.h>

int ZQFork::s_nNumber = 0;

ZQFork::ZQFork()
{
    // The platform drops the handler when the library is unloaded.
    ThreadPoolCheck.CrashUnless(0 == pthread_atfork(nullptr, nullptr, InChild), "0==pthread_atfork");
}

/// Nothing but this store: the child may be about to call `exec`, and may call only what a signal handler may.
void ZQFork::InChild()
{
    if (__libc_single_threaded == 0)
    {
        ++s_nNumber;
    }
}
