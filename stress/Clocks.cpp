#include "Stress.h"

#include <cerrno>
#include <cstring>
#include <ctime>

namespace
{
constexpr unsigned long Wrap = 1UL << 32;
constexpr long Hour = 3600;

/// What has been seen so far.
struct Counts
{
    std::atomic<long> runs{0};
    std::atomic<long> waits{0};
    std::atomic<long> tasks{0};
};

/// Waits until everything has gone on, by more than what was under way already.
void GoOn(const Counts& counts)
{
    constexpr long More = 5;
    const long runs = counts.runs + More;
    const long waits = counts.waits + More;
    const long tasks = counts.tasks + More;
    const Deadline limit(60);
    while (counts.runs < runs || counts.waits < waits || counts.tasks < tasks)
    {
        Demand(!limit.Passed(), "a timer, a wait or a task stands still");
        Pause(1000);
    }
}

/// Sets the wall clock forth or back. @return 0 or the error
int StepWallClock(long seconds)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    now.tv_sec += seconds;
    return clock_settime(CLOCK_REALTIME, &now) == 0 ? 0 : errno;
}

/// Waits of 200 ms take that time, whatever happens to the clocks; they may take longer on a machine that is busy.
void Wait(ZQMutex& mutex, ZQCond& never, std::atomic<long>& waits)
{
    constexpr double Least = 199;
    const auto start = std::chrono::steady_clock::now();
    ZQTimeMeter meter;
    const ZQAutoMutex lock(mutex);
    const ZQCond::CondErrno result = never.WaitTimeout(mutex, 200);
    const double metered = static_cast<double>(meter.GetElapsed());
    const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    Demand(result != ZQCond::CondFailed, "a wait failed");
    Demand(metered < ms + 2, "the meter ran ahead");
    if (result == ZQCond::CondTimedOut)
    {
        Demand(ms >= Least && metered >= Least, "a wait of 200 ms ended before");
        ++waits;
    }
}
}  // namespace

/// The tick may cross 2^32 ms meanwhile, in a time namespace that starts before it, and the wall clock may be stepped.
void StressClocks(const StressOptions& options)
{
    const Deadline deadline(options.seconds);
    const unsigned long first = ZQDateTime::GetTickCount();
    Counts counts;
    std::atomic<bool> stepped{false};
    Demand(ZQTimer::ModuleInit(1), "the timer module cannot be taken up");
    ZQTimer timer(0);
    timer.Init(
        100, [](ZQTimer&, void* p) { ++*static_cast<std::atomic<long>*>(p); }, &counts.runs);
    timer.Start(false);
    ZQTaskPool pool(0, 2);
    pool.Init(
        nullptr, [](void* p, void*) { ++*static_cast<std::atomic<long>*>(p); }, nullptr, nullptr);
    InThreads(4, [&](int thread) {
        if (thread == 0)
        {
            unsigned long last = first;
            while (!deadline.Passed() || !stepped)
            {
                const unsigned long now = ZQDateTime::GetTickCount();
                Demand(now >= last, "the tick went back");
                last = now;
                Demand(pool.Task(&counts.tasks, false) == 0, "no task is taken");
                Pause(2000);
            }
        }
        else if (thread == 1)
        {
            for (const long seconds : {Hour, -Hour})
            {
                Pause(static_cast<unsigned>(options.seconds * 3e5));
                const int error = options.stepClock ? StepWallClock(seconds) : 0;
                Demand(error == 0, std::strerror(error));
                GoOn(counts);
            }
            stepped = true;
        }
        else
        {
            ZQMutex mutex;
            ZQCond never;
            while (!deadline.Passed() || !stepped)
            {
                Wait(mutex, never, counts.waits);
            }
        }
    });
    timer.Stop(true);
    pool.Uninit(true);
    ZQTimer::ModuleUninit();
    const unsigned long elapsed = ZQDateTime::GetTickCount() - first;
    Demand(counts.runs <= static_cast<long>(elapsed / 99), "a timer ran too often");
    std::printf(
        "clocks: %lu ms, %ld runs of a 100 ms timer, %ld waits of 200 ms, %ld tasks; tick from %lu to %lu, 2^32 %s; "
        "wall clock %s\n",
        elapsed, counts.runs.load(), counts.waits.load(), counts.tasks.load(), first, first + elapsed,
        first < Wrap && first + elapsed >= Wrap ? "crossed" : "not crossed",
        options.stepClock ? "stepped by an hour forth and back" : "not stepped");
}
