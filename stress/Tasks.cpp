#include "Stress.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>

namespace
{
constexpr int Producers = 8;
constexpr int Pools = 4;
constexpr int Slots = 3;
constexpr long MostWaiting = 500;
constexpr long ItemsForASecond = 50000;

/// What became of each item: one of these bits, once.
enum : unsigned char
{
    Ran = 1,
    Freed = 16
};

/// A task pool that is made again and again.
struct Place
{
    std::shared_mutex mutex;  // a task pool is not destroyed while somebody uses it
    std::unique_ptr<ZQTaskPool> pool;
    std::atomic<bool> paused{false};

    void MakeAnew(ZQRefThreadPool* shared)
    {
        pool = std::make_unique<ZQTaskPool>(MostWaiting, Slots);
        const auto run = [](void* item, void*) { static_cast<std::atomic<unsigned char>*>(item)->fetch_add(Ran); };
        const auto drop = [](void* item, void*) { static_cast<std::atomic<unsigned char>*>(item)->fetch_add(Freed); };
        Demand(pool->Init(shared, run, drop, nullptr) == 0, "a task pool cannot be bound");
    }
};

struct Field
{
    explicit Field(long items) : fates(static_cast<size_t>(items))
    {
        for (Place& place : places)
        {
            place.MakeAnew(shared);
        }
    }
    ~Field()
    {
        for (Place& place : places)
        {
            place.pool.reset();
        }
        shared->Unref();
    }
    Field(const Field&) = delete;
    Field& operator=(const Field&) = delete;

    ZQRefThreadPool* const shared = ZQRefThreadPool::Create(6, 0);
    Place places[Pools];
    std::vector<std::atomic<unsigned char>> fates;
    std::atomic<long> given{0};
    std::atomic<long> changes{0};
};

/// Everything that may happen to a pool but being used.
void Change(Field& field, Place& place, Chance& chance, bool mayMakeAnew)
{
    ++field.changes;
    if (mayMakeAnew && chance.OneIn(4))
    {
        const std::unique_lock<std::shared_mutex> lock(place.mutex);
        if (chance.OneIn(2))
        {
            place.pool->Uninit(chance.OneIn(2));
        }
        place.MakeAnew(field.shared);
        return;
    }
    const std::shared_lock<std::shared_mutex> lock(place.mutex);
    switch (chance.Below(3))
    {
    case 0: place.pool->Clean(); break;
    case 1: place.pool->Pause(true); break;
    default: place.pool->Pause(false); break;
    }
    place.pool->Resume();
}

/// Gives items to the pools until all of this step are given.
void Give(Field& field, Chance& chance, long end, bool mayMakeAnew)
{
    for (;;)
    {
        const long item = field.given.fetch_add(1);
        if (item >= end)
        {
            field.given.fetch_sub(1);
            return;
        }
        for (;;)
        {
            Place& place = field.places[chance.Below(Pools)];
            if (chance.OneIn(5000))
            {
                Change(field, place, chance, mayMakeAnew);
            }
            const std::shared_lock<std::shared_mutex> lock(place.mutex);
            if (place.pool->Task(&field.fates[static_cast<size_t>(item)], chance.OneIn(10)) == 0)
            {
                break;
            }
            std::this_thread::yield();
        }
    }
}

void GiveAll(Field& field, unsigned long seed, long end, bool mayMakeAnew)
{
    InThreads(Producers, [&](int thread) {
        Chance chance(seed, thread);
        Give(field, chance, end, mayMakeAnew);
    });
}

/// As many nodes as there can ever be at a time are made, all of them in use.
void WarmUp(Field& field)
{
    for (Place& place : field.places)
    {
        place.pool->Pause(true);
        place.pool->Resume();
    }
    std::vector<ZQRefThreadPool::TPLTaskNode*> nodes;
    for (long i = 0; i < Pools * (MostWaiting + 200); ++i)
    {
        nodes.push_back(field.shared->GetTPLTaskNode());
    }
    for (ZQRefThreadPool::TPLTaskNode* node : nodes)
    {
        field.shared->FreeTPLTaskNode(node);
    }
}
}  // namespace

void StressTasks(const StressOptions& options)
{
    const long items = options.items > 0 ? options.items : static_cast<long>(options.seconds * ItemsForASecond);
    Field field(items);
    for (std::atomic<unsigned char>& fate : field.fates)
    {
        fate.store(0);
    }
    const long warm = items / 10;
    GiveAll(field, options.seed, warm, true);
    const long residentBefore = ResidentKb();
    long most = residentBefore;
    const long chaos = items - items / 5;
    for (int step = 1; step <= 7; ++step)
    {
        GiveAll(field, options.seed + static_cast<unsigned long>(step), warm + (chaos - warm) * step / 7, true);
        most = std::max(most, ResidentKb());
    }
    // The last fifth without making pools anew, which allocates by its nature; half of it to warm up.
    WarmUp(field);
    GiveAll(field, options.seed + 8, chaos + items / 10, false);
    std::atomic<long> ready{0};
    std::atomic<long> allocations{0};
    InThreads(Producers, [&](int thread) {
        Chance chance(options.seed + 9, thread);
        const auto meet = [&](long count) {
            ++ready;
            while (ready < count)
            {
                std::this_thread::yield();
            }
        };
        meet(Producers);
        const long start = Allocations();
        Give(field, chance, items, false);
        meet(2 * Producers);
        const long mine = Allocations() - start;
        long seen = allocations;
        while (mine > seen && !allocations.compare_exchange_weak(seen, mine))
        {
        }
    });
    for (Place& place : field.places)
    {
        place.pool->Uninit(true);
    }
    long ran = 0;
    long freed = 0;
    for (const std::atomic<unsigned char>& fate : field.fates)
    {
        ran += fate == Ran ? 1 : 0;
        freed += fate == Freed ? 1 : 0;
    }
    Demand(ran + freed == items, "an item met no callback, or two");
    const double grown = 100.0 * static_cast<double>(most - residentBefore) / static_cast<double>(residentBefore);
    std::printf("tasks: %ld items, %ld ran, %ld freed, %ld changes; resident %ld kB after warm-up, %+.1f %% at most; "
                "%s allocations in %ld steady items\n",
                items, ran, freed, field.changes.load(), residentBefore, grown,
                Allocations() < 0 ? "uncounted" : std::to_string(allocations).c_str(), items / 10);
    if (options.items > 0)
    {
        Demand(grown <= 5.0, "resident memory grows");
        Demand(allocations == 0, "a steady stream allocates");
    }
}
