// A thread that is paused, goes on and is stopped; and a pool with two workers of its own.

#include <ZQOSApi.h>
#include <ZQThreadPool.h>

#include <cstdio>

static volatile long rounds = 0;
static volatile long done = 0;

static void Work(ZQThread& thread, void*)
{
    while (!thread.TestExit())  // pauses are spent in here
    {
        ZQAtomicInc(&rounds);
        ZQSleep(1);
    }
}

int main()
{
    ZQThread thread;
    thread.Start(Work, nullptr);
    thread.Suspend();
    std::printf("paused: %s\n", thread.IsPause() ? "yes" : "no");
    thread.Resume();
    while (ZQAtomicGet(&rounds) < 3)
    {
        ZQSleep(1);
    }
    thread.Stop();  // only asks
    thread.Join();

    ZQThreadPool pool(0, 2, 0);
    for (int i = 0; i < 10; ++i)
    {
        pool.Start([](void*) { ZQAtomicInc(&done); }, nullptr);
    }
    while (ZQAtomicGet(&done) < 10)  // the destructor would drop what still waits
    {
        ZQSleep(1);
    }
    std::printf("tasks: %ld\n", ZQAtomicGet(&done));
}

// prints:
// paused: yes
// tasks: 10
