#include "Stress.h"

#include <cerrno>
#include <cstring>
#include <ctime>

namespace
{
constexpr unsigned long Wrap = 1UL << 32;
constexpr long Hour = 3600;

/// Sets the wall clock forth or back. @return 0 or the error
int StepWallClock(long seconds)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    now.tv_sec += seconds;
    return clock_settime(CLOCK_REALTIME, &now) == 0 ? 0 : errno;
}

/// Waits of 200 ms end after that time and not much before, whatever happens to the clocks.
void Waits(const Deadline& deadline, std::atomic<long>& waits)
{
    ZQMutex mutex;
    ZQCond never;
    while (!deadline.Passed())
    {
        const auto start = std::chrono::steady_clock::now();
        ZQTimeMeter meter;
        const ZQAutoMutex lock(mutex);
        Demand(never.WaitTimeout(mutex, 200) != ZQCond::CondFailed, "a wait failed");
        const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        Demand(ms < 60000, "a wait of 200 ms took a minute");
        Demand(static_cast<double>(meter.GetElapsed()) < ms + 2, "the meter ran ahead");
        ++waits;
    }
}
}  // namespace

/// The tick may cross 2^32 ms meanwhile, in a time namespace that starts before it, and the wall clock may be stepped.
void StressClocks(const StressOptions& options)
{
    const Deadline deadline(options.seconds);
    const unsigned long first = ZQDateTime::GetTickCount();
    std::atomic<long> waits{0};
    std::atomic<long> tasks{0};
    std::atomic<long> runs{0};
    Demand(ZQTimer::ModuleInit(1), "the timer module cannot be taken up");
    ZQTimer timer(0);
    timer.Init(
        100, [](ZQTimer&, void* p) { ++*static_cast<std::atomic<long>*>(p); }, &runs);
    timer.Start(false);
    ZQTaskPool pool(0, 2);
    pool.Init(
        nullptr, [](void* p, void*) { ++*static_cast<std::atomic<long>*>(p); }, nullptr, nullptr);
    int stepError = -1;
    InThreads(4, [&](int thread) {
        if (thread == 0)
        {
            unsigned long last = first;
            while (!deadline.Passed())
            {
                const unsigned long now = ZQDateTime::GetTickCount();
                Demand(now >= last, "the tick went back");
                last = now;
                Demand(pool.Task(&tasks, false) == 0, "no task is taken");
                Pause(2000);
            }
        }
        else if (thread == 1)
        {
            Pause(static_cast<unsigned>(options.seconds * 3e5));
            stepError = options.stepClock ? StepWallClock(Hour) : -1;
            Pause(static_cast<unsigned>(options.seconds * 3e5));
            if (stepError == 0)
            {
                Demand(StepWallClock(-Hour) == 0, "the wall clock cannot be set back");
            }
        }
        else
        {
            Waits(deadline, waits);
        }
    });
    timer.Stop(true);
    pool.Uninit(true);
    ZQTimer::ModuleUninit();
    const unsigned long elapsed = ZQDateTime::GetTickCount() - first;
    Demand(runs > 0 && runs <= static_cast<long>(elapsed / 99), "a timer ran too often or not at all");
    Demand(tasks > 0, "no task ran");
    std::printf(
        "clocks: %lu ms, %ld runs of a 100 ms timer, %ld waits of 200 ms, %ld tasks; tick from %lu to %lu, 2^32 %s; "
        "wall clock %s\n",
        elapsed, runs.load(), waits.load(), tasks.load(), first, first + elapsed,
        first < Wrap && first + elapsed >= Wrap ? "crossed" : "not crossed",
        stepError == 0  ? "stepped by an hour forth and back"
        : stepError > 0 ? std::strerror(stepError)
                        : "not stepped");
}
