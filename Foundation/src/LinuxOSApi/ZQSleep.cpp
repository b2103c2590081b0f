#include "ZQOSApi.h"

#include <sched.h>
#include <unistd.h>

void ZQSleep(int milliseconds)
{
    if (milliseconds <= 999)
    {
        usleep(static_cast<useconds_t>(milliseconds) * 1000U);
        return;
    }
    unsigned int seconds = static_cast<unsigned int>(milliseconds / 1000);
    while (seconds != 0)
    {
        seconds = sleep(seconds);  // what a signal left of it
    }
    const int rest = milliseconds % 1000;
    if (rest > 5)
    {
        usleep(static_cast<useconds_t>(rest * 1000 - 5000));
    }
}

int ZQThreadYield()
{
    return sched_yield();
}

int ZQGetCPUProcessorNumber()
{
    const long processors = sysconf(_SC_NPROCESSORS_ONLN);
    return processors > 0 ? static_cast<int>(processors) : 1;
}
