// Growth: what an operation costs at sizes that grow tenfold. A contestant's name ends in its size.

#include "Files.h"
#include "MemoryContestants.h"
#include "Stretch.h"

#include <ZQOSApi.h>
#include <ZQThreadPool.h>
#include <ZQTime.h>

#include <cstdint>
#include <memory>
#include <random>
#include <unistd.h>

namespace {
/// Adds a contestant at one size; `run(size)` is an Outcome.
template <class Run> void AddAt(const char* workload, const char* who, long size, Run run) {
    bench::Batch(workload, std::string(who) + " " + std::to_string(size), [run, size] {
        bench::Outcome out = run(size);
        out.more.emplace_back("size", static_cast<double>(size));
        out.more.emplace_back("operations", out.operations);
        return out;
    });
}

/// A burst of tasks in a pool of one slot whose caches are empty.
bench::Outcome Burst(long count) {
    bench::Outcome out;
    std::atomic<long> done{0};
    const long rounds = std::max(1L, bench::Scaled(1000000, 100000) / count);
    for (long i = 0; i < rounds; ++i) {
        ZQRefThreadPool* const threads = ZQRefThreadPool::Create(2, 0);
        {
            ZQTaskPool pool(0, 1);
            pool.Init(
                threads,
                [](void*, void* user) {
                    static_cast<std::atomic<long>*>(user)->fetch_add(1, std::memory_order_relaxed);
                },
                nullptr, &done);
            const bench::Stretch stretch(out);
            for (long task = 0; task < count; ++task) { pool.Task(&done, false); }
            pool.Uninit(true);
        }
        threads->Unref();
    }
    out.operations = static_cast<double>(count * rounds);
    out.error = done == count * rounds ? nullptr : "a task was lost";
    return out;
}

/// Random replacement among so many live blocks of 1 to `most` slices.
template <class Kind> bench::Outcome Replace(long live, unsigned most) {
    bench::Outcome out;
    const long rounds = bench::Scaled(100000, 10000);
    std::mt19937 source(1);
    std::vector<unsigned> random(1 << 16);
    std::generate(random.begin(), random.end(), [&source] { return static_cast<unsigned>(source()); });
    Kind kind;
    std::vector<std::pair<long*, unsigned>> blocks;
    const auto take = [&](unsigned number, long mark) {
        const unsigned n = number % most + 1;
        long* const block = static_cast<long*>(kind.Take(n));
        *block = mark;
        return std::make_pair(block, n);
    };
    bool right = true;
    for (long i = 0; i < live; ++i) { blocks.push_back(take(random[static_cast<std::size_t>(i) % random.size()], i)); }
    const auto replace = [&](long rounds_) {
        for (long i = 0; i < rounds_; ++i) {
            const unsigned number = random[static_cast<std::size_t>(i * 7) % random.size()] + static_cast<unsigned>(i);
            const long at = static_cast<long>(number / 8) % live;
            auto& block = blocks[static_cast<std::size_t>(at)];
            right = *block.first == at && right;
            kind.Give(block.first, block.second);
            block = take(number, at);
        }
    };
    replace(rounds);  // into the disorder that stays
    {
        const bench::Stretch stretch(out);
        replace(rounds);
    }
    out.operations = static_cast<double>(rounds);
    for (const auto& block : blocks) { kind.Give(block.first, block.second); }
    out.error = right ? nullptr : "a block was not kept";
    return out;
}

/// Gives so many blocks, of 1 to `most` slices, back in random order; an operation is one of these.
template <class Kind> bench::Outcome FreeAll(long count, unsigned most) {
    bench::Outcome out;
    std::mt19937 source(1);
    Kind kind;
    std::vector<std::pair<long*, unsigned>> blocks;
    for (long i = 0; i < count; ++i) {
        const unsigned n = static_cast<unsigned>(source()) % most + 1;
        blocks.emplace_back(static_cast<long*>(kind.Take(n)), n);
        *blocks.back().first = static_cast<long>(n);
    }
    std::shuffle(blocks.begin(), blocks.end(), source);
    bool right = true;
    {
        const bench::Stretch stretch(out);
        for (const auto& block : blocks) {
            right = *block.first == static_cast<long>(block.second) && right;
            kind.Give(block.first, block.second);
        }
    }
    out.operations = static_cast<double>(count);
    out.error = right ? nullptr : "a block was not kept";
    return out;
}

/// Walks a directory of so many files; `walk(dir)` is how many it has seen.
template <class Walk> bench::Outcome WalkAll(long count, Walk walk) {
    bench::Outcome out;
    const std::string dir = WorkDir() + "/grow" + std::to_string(count);
    MakeFiles(dir, count);
    const long rounds = std::max(1L, bench::Scaled(100000, 1000) / count);
    long seen = 0;
    {
        const bench::Stretch stretch(out);
        for (long i = 0; i < rounds; ++i) { seen += walk(dir); }
    }
    out.operations = static_cast<double>(count * rounds);
    out.error = seen == count * rounds ? nullptr : "the walk has not seen every entry once";
    return out;
}

long Walk(const std::string& dir) {
    long seen = 0;
    ZQFetchDir(
        dir.c_str(),
        [](const _ZQStruFileInfo&, void* user) {
            ++*static_cast<long*>(user);
            return true;
        },
        &seen);
    return seen;
}

bench::Outcome Remove(long count) {
    bench::Outcome out;
    const std::string tree = WorkDir() + "/growtree";
    MakeTree(tree, count);
    {
        const bench::Stretch stretch(out);
        out.error = ZQForcedRemoveDir(tree.c_str()) == 0 ? nullptr : "something is left of the tree";
    }
    out.operations = static_cast<double>(count);
    return out;
}

/// Timers that are started and never run in the time of the contest.
class Waiting {
public:
    explicit Waiting(long count) {
        ZQTimer::ModuleInit(2);
        for (long i = 0; i < count; ++i) {
            m_timers.push_back(std::make_unique<ZQTimer>(i));
            m_timers.back()->Init(
                3600 * 1000, [](ZQTimer&, void*) {}, nullptr);
            m_timers.back()->Start(false);
        }
    }
    ~Waiting() {
        m_timers.clear();
        ZQTimer::ModuleUninit();
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ZQTimer& At(std::size_t i) { return *m_timers[i]; }

private:
    std::vector<std::unique_ptr<ZQTimer>> m_timers;
};

bench::Outcome StopAndStart(long count) {
    bench::Outcome out;
    Waiting waiting(count);
    const long rounds = bench::Scaled(20000, 1000);
    bool right = true;
    {
        const bench::Stretch stretch(out);
        for (long i = 0; i < rounds; ++i) {
            ZQTimer& timer = waiting.At(static_cast<std::size_t>(i * 7919 % count));
            timer.Stop(true);
            right = timer.Start(false) && right;
        }
    }
    out.operations = static_cast<double>(rounds);
    out.error = right ? nullptr : "a timer did not start";
    return out;
}

/// Processor time a second of looking at waiting timers: it grows with their number, and that is meant.
bench::Outcome Scan(long count) {
    bench::Outcome out;
    Waiting waiting(count);
    timespec used[2];
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used[0]);
    const double before = bench::Now();
    usleep(static_cast<useconds_t>(bench::Scaled(500000, 50000)));
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used[1]);
    const double passed = bench::Now() - before;
    out.nanoseconds = (static_cast<double>(used[1].tv_sec - used[0].tv_sec) * 1e9 +
                       static_cast<double>(used[1].tv_nsec - used[0].tv_nsec)) /
                      passed * 1e9;
    return out;
}

/// An ordered free, and that of a run, goes over the free slices of one chunk: the same blocks, in chunks of growing size.
template <unsigned Chunk> void AddChunk() {
    AddAt("free single blocks in random order, by the chunk's slices", "ZQMemoryPool, ordered", Chunk,
          [](long) { return FreeAll<OurPool<true, Chunk>>(20000, 1); });
    AddAt("free single blocks in random order, by the chunk's slices", "ZQMemoryPool", Chunk,
          [](long) { return FreeAll<OurPool<false, Chunk>>(20000, 1); });
    AddAt("free runs of 1 to 8 in random order, by the chunk's slices", "ZQMemoryPool, ordered", Chunk,
          [](long) { return FreeAll<OurPool<true, Chunk>>(20000, 8); });
}
}  // namespace

long bench::Allocations() { return -1; }

void bench::Register() {
    for (const long size : {10000L, 100000L, 1000000L}) { AddAt("a task of a burst", "ZQTaskPool", size, Burst); }
    for (const long size : {1000L, 10000L, 100000L}) {
        AddAt("single block, random, by live blocks", "ZQMemoryPool", size,
              [](long n) { return Replace<OurPool<false, 256>>(n, 1); });
        AddAt("single block, random, by live blocks", "ZQMemoryPool, ordered", size,
              [](long n) { return Replace<OurPool<true, 256>>(n, 1); });
        AddAt("single block, random, by live blocks", "floor: free list", size,
              [](long n) { return Replace<FreeList>(n, 1); });
    }
    for (const long size : {200L, 2000L, 20000L}) {
        AddAt("runs of 1 to 8, by live runs", "ZQMemoryPool, ordered", size,
              [](long n) { return Replace<OurPool<true, 256>>(n, 8); });
        AddAt("runs of 1 to 8, by live runs", "glibc malloc", size, [](long n) { return Replace<Glibc>(n, 8); });
#ifdef ZQ_HAVE_BOOST
        if (size < 20000) {  // beyond that a repetition would take seconds
            AddAt("runs of 1 to 8, by live runs", "boost::pool, ordered", size,
                  [](long n) { return Replace<BoostOrdered>(n, 8); });
        }
#endif
    }
    for (const long size : {1000L, 10000L, 100000L}) {
        AddAt("free single blocks in random order, by blocks", "ZQMemoryPool, ordered", size,
              [](long n) { return FreeAll<OurPool<true, 256>>(n, 1); });
        AddAt("free single blocks in random order, by blocks", "floor: list in order", size,
              [](long n) { return FreeAll<OrderedFreeList>(n, 1); });
        AddAt("free runs of 1 to 8 in random order, by runs", "ZQMemoryPool, ordered", size,
              [](long n) { return FreeAll<OurPool<true, 256>>(n, 8); });
        AddAt("free runs of 1 to 8 in random order, by runs", "glibc malloc", size,
              [](long n) { return FreeAll<Glibc>(n, 8); });
    }
    AddChunk<64>();
    AddChunk<256>();
    AddChunk<1024>();
    AddChunk<4096>();
    for (const long size : {1000L, 10000L, 100000L}) {
        if (size < 100000 || !bench::Quick()) {
            AddAt("walk, an entry", "ZQFetchDir", size, [](long n) { return WalkAll(n, Walk); });
            AddAt("walk, an entry", "floor: readdir, fstatat", size, [](long n) { return WalkAll(n, CountFiles); });
        }
    }
    for (const long size : {200L, 2000L, 20000L}) {
        if (size < 20000 || !bench::Quick()) {
            AddAt("remove a tree, a file", "ZQForcedRemoveDir", size, Remove);
        }
    }
    for (const long size : {100L, 1000L, 10000L}) {
        AddAt("stop and start a timer, by started ones", "ZQTimer", size, StopAndStart);
        AddAt("a second of looking at waiting timers", "ZQTimer", size, Scan);
    }
}
