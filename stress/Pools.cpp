#include "Stress.h"

namespace
{
void Count(void* count, long)
{
    ++*static_cast<std::atomic<long>*>(count);
}

void Count(void* count)
{
    Count(count, 0);
}

/// A private shared pool: used by several threads, then waited for, or dropped with what is queued.
void UseRefPool(Chance& chance, std::atomic<long>& total)
{
    std::atomic<long> runs{0};
    std::atomic<long> started{0};
    ZQRefThreadPool* const pool = ZQRefThreadPool::Create(static_cast<int>(1 + chance.Below(4)), 0);
    const unsigned tasks = chance.Below(200);
    InThreads(2, [&](int) {
        pool->Ref();
        for (unsigned i = 0; i < tasks; ++i)
        {
            started += pool->Start(Count, &runs) ? 1 : 0;
        }
        pool->Unref();
    });
    const bool waits = chance.OneIn(2);
    while (waits && runs != started)
    {
        std::this_thread::yield();
    }
    pool->Unref();
    Demand(waits ? runs == started : runs <= started, "a shared pool ran a task twice");
    total += runs;
}

void UseSimplePool(Chance& chance, std::atomic<long>& total)
{
    std::atomic<long> runs{0};
    long started = 0;
    {
        ZQThreadPool pool(1, static_cast<int>(1 + chance.Below(3)), 0);
        for (unsigned i = chance.Below(300); i > 0; --i)
        {
            started += pool.Start(Count, &runs) ? 1 : 0;
        }
        while (chance.OneIn(2) && runs != started)
        {
            std::this_thread::yield();
        }
    }
    Demand(runs <= started, "a simple pool ran a task twice");
    total += runs;
}

/// A task pool on the process-wide threads that is destroyed by its own task.
void UseGlobalPool(Chance& chance, std::atomic<long>& total)
{
    struct Self
    {
        ZQTaskPool pool{0, 2};
        std::atomic<long>* ends;
        std::atomic<bool> given{false};
    };
    std::atomic<long> ends{0};
    Self* self = new Self;
    self->ends = &ends;
    const auto run = [](void* data, void* user) {
        if (data == nullptr)
        {
            Self* mine = static_cast<Self*>(user);
            while (!mine->given)
            {
                std::this_thread::yield();  // the other thread may still be inside Task()
            }
            std::atomic<long>* count = mine->ends;
            delete mine;
            ++*count;
        }
        else
        {
            ++*static_cast<Self*>(user)->ends;
        }
    };
    const auto drop = [](void*, void* user) { ++*static_cast<Self*>(user)->ends; };
    self->pool.Init(nullptr, run, drop, self);
    const long items = 1 + chance.Below(20);
    int data = 0;
    for (long i = 1; i < items; ++i)
    {
        Demand(self->pool.Task(&data, false) == 0, "a task pool takes no task");
    }
    self->pool.Pause(true);  // so that none of the others is running any more
    self->pool.Resume();
    Demand(self->pool.Task(nullptr, false) == 0, "a task pool takes no task");
    self->given = true;
    while (ends != items)
    {
        std::this_thread::yield();
    }
    total += items;
}
}  // namespace

void StressPools(const StressOptions& options)
{
    const Deadline deadline(options.seconds);
    std::atomic<long> total{0};
    InThreads(3, [&](int thread) {
        Chance chance(options.seed, thread);
        while (!deadline.Passed())
        {
            switch (chance.Below(3))
            {
            case 0: UseRefPool(chance, total); break;
            case 1: UseSimplePool(chance, total); break;
            default: UseGlobalPool(chance, total); break;
            }
        }
    });
    ZQThreadPoolGlobalCleanup();
    std::printf("pools: %ld tasks\n", total.load());
}
