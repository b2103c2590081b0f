#include "Stress.h"

#include <algorithm>
#include <memory>

namespace
{
constexpr int Threads = 4;
constexpr long DefaultTimers = 200;
constexpr unsigned MostIntervalMs = 100;

/// A place for a timer, of one thread that starts, stops and destroys what is there. A timer that destroys itself is touched
/// by nobody else.
struct Place
{
    ZQTimer* timer = nullptr;
    bool destroysItself = false;
    std::atomic<bool> gone{false};
    std::atomic<int> inside{0};
    std::atomic<long> runs{0};

    static void Run(ZQTimer& timer, void* p)
    {
        Place& place = *static_cast<Place*>(p);
        Demand(place.inside.fetch_add(1) == 0, "a callback was entered twice");
        const bool last = ++place.runs % 3 == 0 && place.destroysItself;
        --place.inside;
        if (last)
        {
            delete &timer;
            place.gone = true;
        }
    }
    void Make(Chance& chance)
    {
        gone = false;
        destroysItself = chance.OneIn(4);
        timer = new ZQTimer(1);
        Demand(timer->Init(static_cast<int>(chance.Below(MostIntervalMs)), Run, this), "a timer cannot be made");
        Demand(timer->Start(chance.OneIn(2)), "a timer cannot be started");
    }
    void Change(Chance& chance)
    {
        if (timer == nullptr || (destroysItself && gone))
        {
            Make(chance);
        }
        else if (!destroysItself)
        {
            switch (chance.Below(4))
            {
            case 0:
                delete timer;
                timer = nullptr;
                Demand(inside == 0, "a callback runs after the end of its timer");
                break;
            case 1:
                timer->Stop(true);
                Demand(inside == 0, "a callback runs after a stop that waits");
                break;
            default: timer->Start(chance.OneIn(2)); break;
            }
        }
    }
    void Finish()
    {
        while (timer != nullptr && destroysItself && !gone)
        {
            Pause(1000);
        }
        if (!destroysItself)
        {
            delete timer;
        }
    }
};
}  // namespace

void StressTimers(const StressOptions& options)
{
    const long timers = options.items > 0 ? options.items : DefaultTimers;
    std::vector<Place> places(static_cast<size_t>(timers));
    std::atomic<long> changes{0};
    std::atomic<long> resident{0};
    const Deadline warm(options.seconds / 4);
    const Deadline deadline(options.seconds);
    Demand(ZQTimer::ModuleInit(4), "the timer module cannot be taken up");
    InThreads(Threads, [&](int thread) {
        Chance chance(options.seed, thread);
        const size_t share = places.size() / Threads;
        while (!deadline.Passed())
        {
            Place& place = places[static_cast<size_t>(thread) * share + chance.Below(static_cast<unsigned>(share))];
            place.Change(chance);
            if (++changes % 64 == 0)
            {
                Pause(1000);
            }
            if (thread == 0 && chance.OneIn(100))
            {
                Demand(ZQTimer::ModuleInit(1), "the timer module cannot be taken up twice");
                ZQTimer::ModuleUninit();
            }
            if (thread == 0 && resident == 0 && warm.Passed())
            {
                resident = ResidentKb();
            }
        }
    });
    const long residentAfter = ResidentKb();
    long runs = 0;
    for (Place& place : places)
    {
        place.Finish();
        runs += place.runs;
    }
    ZQTimer::ModuleUninit();
    Demand(runs > 0, "no timer ever ran");
    const long residentBefore = std::max(1L, resident.load());
    std::printf("timers: %ld timers, %ld changes, %ld runs; resident %ld kB after a quarter, %+.1f %% at the end\n",
                timers, changes.load(), runs, residentBefore,
                100.0 * static_cast<double>(residentAfter - residentBefore) / static_cast<double>(residentBefore));
}
