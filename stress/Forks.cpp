#include "Stress.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr long DefaultForks = 1000;

/// Threads of every kind at work, and their objects on the way into the children.
struct Busy
{
    Busy()
    {
        Demand(ZQTimer::ModuleInit(2), "the timer module cannot be taken up");
        for (auto& pool : pools)
        {
            pool = std::make_unique<ZQTaskPool>(100, 2);
            pool->Init(&pool == pools ? own : nullptr, Nothing, nullptr, nullptr);
        }
        for (auto& timer : timers)
        {
            timer = std::make_unique<ZQTimer>(0);
            timer->Init(
                0, [](ZQTimer&, void*) {}, nullptr);
            timer->Start(true);
        }
        thread.Start(Feed, this);
    }
    ~Busy()
    {
        thread.Stop();
        thread.Join();
        for (auto& pool : pools)
        {
            pool.reset();
        }
        own->Unref();
        ZQTimer::ModuleUninit();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

    static void Nothing(void*, void*)
    {
    }
    static void Feed(ZQThread& self, void* p)
    {
        while (!self.TestExit())
        {
            for (auto& pool : static_cast<Busy*>(p)->pools)
            {
                pool->Task(nullptr, false);
            }
        }
    }

    ZQRefThreadPool* const own = ZQRefThreadPool::Create(3, 0);
    std::unique_ptr<ZQTaskPool> pools[3];
    std::unique_ptr<ZQTimer> timers[20];
    ZQThread thread;
};

/// Leaves running tasks, queued ones and timers to the end of the process, which waits for the first and drops the rest.
void LeaveBusy()
{
    Demand(ZQTimer::ModuleInit(1), "the timer module cannot be taken up");
    ZQTimer* const timer = new ZQTimer(0);
    timer->Init(
        0, [](ZQTimer&, void*) { Pause(500); }, nullptr);
    timer->Start(true);
    for (int i = 0; i < 100; ++i)
    {
        ZQRefThreadPool::Global()->Start([](void*, long) { Pause(500); }, nullptr);
    }
}

#if defined(__SANITIZE_THREAD__)
/// The sanitizer takes new threads in a child for the parent's.
void WorkInChild(bool)
{
}
#else
/// A task on the child's own process-wide pool and a run of a timer of its own.
void WorkInChild(bool leavesBusy)
{
    std::atomic<int> runs{0};
    const auto count = [](void* p, void*) { ++*static_cast<std::atomic<int>*>(p); };
    ZQTaskPool pool(0, 1);
    Demand(pool.Init(nullptr, count, nullptr, nullptr) == 0 && pool.Task(&runs, false) == 0, "no task in a child");
    Demand(ZQTimer::ModuleInit(1), "no timers in a child");
    ZQTimer timer(0);
    timer.Init(
        0, [](ZQTimer&, void* p) { ++*static_cast<std::atomic<int>*>(p); }, &runs);
    timer.Start(true);
    while (runs < 3)
    {
        Pause(100);
    }
    timer.Stop(true);
    pool.Uninit(true);
    ZQTimer::ModuleUninit();
    if (leavesBusy)
    {
        LeaveBusy();
    }
}
#endif
}  // namespace

void StressForks(const StressOptions& options)
{
    typedef std::chrono::steady_clock Clock;
    const long forks = options.items > 0 ? options.items : DefaultForks;
    const Deadline deadline(options.items > 0 ? 1e6 : options.seconds);
    Chance chance(options.seed, 0);
    auto busy = std::make_unique<Busy>();
    std::vector<double> times;
    while (static_cast<long>(times.size()) < forks && !deadline.Passed())
    {
        const bool works = chance.OneIn(2);
        const bool destroys = chance.OneIn(2);
        const bool leavesBusy = chance.OneIn(2);
        Pause(chance.Below(500));
        const Clock::time_point start = Clock::now();
        const pid_t child = fork();
        if (child == 0)
        {
            alarm(60);
            if (works)
            {
                WorkInChild(leavesBusy);
            }
            if (destroys)
            {
                busy.reset();
            }
            std::exit(0);
        }
        int status = -1;
        Demand(waitpid(child, &status, 0) == child && status == 0, "a child did not end with 0");
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    busy.reset();
    std::sort(times.begin(), times.end());
    const auto late = times.end() - std::upper_bound(times.begin(), times.end(), 1000.0);
    std::printf(
        "forks: %zu children, all ended with 0; median %.1f ms, longest %.1f ms, %ld took longer than a second\n",
        times.size(), times[times.size() / 2], times.back(), static_cast<long>(late));
    LeaveBusy();
}
