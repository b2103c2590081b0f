// Memory: blocks of 64 bytes in three orders, runs of blocks, growth, what a block costs beside its own bytes, and what is given
// back. Heap allocations are not counted here: the counter would slow down the rivals that are being measured.

#include "MemoryContestants.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <numeric>
#include <random>
#include <unistd.h>

long bench::Allocations() { return -1; }

namespace {
constexpr std::size_t Live = 10000;
constexpr std::size_t Burst = 64;
constexpr std::size_t WarmUp = 4 * Live;  // until an allocator is in the disorder that it stays in

/// A block in use carries a mark at its start and end, which nobody else may have changed when it is given back.
struct Block {
    char* at;
    unsigned n;
    void Mark(std::size_t mark) const {
        *reinterpret_cast<std::size_t*>(at) = mark;
        *reinterpret_cast<std::size_t*>(at + n * Unit - 2 * sizeof mark) = mark;
    }
    bool Holds(std::size_t mark) const {
        return *reinterpret_cast<std::size_t*>(at) == mark &&
               *reinterpret_cast<std::size_t*>(at + n * Unit - 2 * sizeof mark) == mark;
    }
};

template <class Kind> Block TakeMarked(Kind& kind, unsigned n, std::size_t mark) {
    const Block block = {static_cast<char*>(kind.Take(n)), n};
    block.Mark(mark);
    return block;
}

/// Random numbers made beforehand, so that the clock does not see them made.
const std::vector<unsigned>& Random() {
    static const std::vector<unsigned> numbers = [] {
        std::mt19937 source(1);
        std::vector<unsigned> made(1 << 16);
        std::generate(made.begin(), made.end(), [&source] { return static_cast<unsigned>(source()); });
        return made;
    }();
    return numbers;
}

enum class Order { LastInFirstOut, FirstInFirstOut, Random };

/// An operation gives back one of the live blocks and takes another.
template <class Kind, Order order> bool Single(benchmark::State& state) {
    Kind kind;
    const std::vector<unsigned>& random = Random();
    std::vector<Block> live;
    for (std::size_t i = 0; i < Live; ++i) { live.push_back(TakeMarked(kind, 1, i)); }
    bool right = true;
    std::size_t next = 0;
    const auto give = [&](std::size_t i) {
        right &= live[i].Holds(i);
        kind.Give(live[i].at, 1);
    };
    const auto step = [&] {
        if (order == Order::LastInFirstOut) {  // a burst is given back before one is taken
            const std::size_t i = next++ % (2 * Burst);
            if (i < Burst) {
                give(Live - 1 - i);
            } else {
                live[Live - 2 * Burst + i] = TakeMarked(kind, 1, Live - 2 * Burst + i);
            }
        } else {
            const std::size_t i = order == Order::Random ? random[next++ % random.size()] % Live : next++ % Live;
            give(i);
            live[i] = TakeMarked(kind, 1, i);
        }
    };
    for (std::size_t i = 0; i < WarmUp; ++i) { step(); }
    for (auto _ : state) { step(); }
    for (; order == Order::LastInFirstOut && next % (2 * Burst) != 0; ++next) {
        const std::size_t i = next % (2 * Burst);
        if (i >= Burst) {
            live[Live - 2 * Burst + i] = TakeMarked(kind, 1, Live - 2 * Burst + i);
        } else {
            give(Live - 1 - i);
        }
    }
    for (std::size_t i = 0; i < Live; ++i) { give(i); }
    return right;
}

/// An operation gives back a run of 1 to 8 blocks and takes another. The number of operations is fixed: how far an allocator has
/// scattered its runs depends on it.
template <class Kind> bench::Outcome Runs(std::size_t count) {
    bench::Outcome out;
    Kind kind;
    const std::vector<unsigned>& random = Random();
    const std::size_t rounds = static_cast<std::size_t>(bench::Scaled(20000, 2000));
    std::vector<Block> live;
    for (std::size_t i = 0; i < count; ++i) { live.push_back(TakeMarked(kind, random[i] % 8 + 1, i)); }
    bool right = true;
    const auto replace = [&](std::size_t from, std::size_t to) {
        for (std::size_t next = from; next < to; ++next) {
            const unsigned number = random[next];
            const std::size_t i = number / 8 % count;
            right &= live[i].Holds(i);
            kind.Give(live[i].at, live[i].n);
            live[i] = TakeMarked(kind, number % 8 + 1, i);
        }
    };
    replace(0, rounds);  // into the disorder that it stays in
    const double before = bench::Now();
    replace(rounds, 2 * rounds);
    out.nanoseconds = bench::Now() - before;
    out.operations = static_cast<double>(rounds);
    for (std::size_t i = 0; i < count; ++i) {
        right &= live[i].Holds(i);
        kind.Give(live[i].at, live[i].n);
    }
    out.error = right ? nullptr : "a block was not kept";
    return out;
}

/// Takes nothing from the heap, where a small block could keep the top from being given back.
long ResidentBytes() {
    char text[128] = {};
    long pages = 0;
    const int fd = open("/proc/self/statm", O_RDONLY);
    if (read(fd, text, sizeof text - 1) > 0) {
        pages = std::atol(std::strchr(text, ' '));
    }
    close(fd);
    return pages * sysconf(_SC_PAGESIZE);
}

struct Growth {
    double nanoseconds;
    double overhead;   // bytes a block beside its own
    double givenBack;  // share of the peak that the system has back after all blocks were given back in random order
    bool right;
};

/// Takes many blocks from an allocator and gives them back.
template <class Kind> Growth GrowHere() {
    const std::size_t count = static_cast<std::size_t>(bench::Scaled(400000, 50000));
    std::vector<Block> live(count, Block{nullptr, 0});
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    Growth growth = {0, 0, 0, true};
    Kind kind;
    const long before = ResidentBytes();
    const double began = bench::Now();
    for (std::size_t i = 0; i < count; ++i) { live[i] = TakeMarked(kind, 1, i); }
    growth.nanoseconds = (bench::Now() - began) / static_cast<double>(count);
    const long peak = ResidentBytes();
    for (const std::size_t i : order) {
        growth.right &= live[i].Holds(i);
        kind.Give(live[i].at, 1);
    }
    kind.Trim();
    growth.overhead = static_cast<double>(peak - before) / static_cast<double>(count) - Unit;
    growth.givenBack = 100.0 * static_cast<double>(peak - ResidentBytes()) / static_cast<double>(peak - before);
    return growth;
}

/// Each measurement has a process of its own, this program once more, told by the environment what to do: memory that others have
/// freed would be taken for new.
constexpr const char* GrowVariable = "ZQ_BENCH_GROW";

template <class Kind> bench::Outcome Grow(const std::string& who) {
    char path[1024] = {};
    bench::Outcome out;
    if (readlink("/proc/self/exe", path, sizeof path - 1) <= 0) {
        out.error = "no path of the program";
        return out;
    }
    const std::string command = std::string(GrowVariable) + "='" + who + "' '" + path + "'";
    Growth growth = {0, 0, 0, false};
    int right = 0;
    std::FILE* const child = popen(command.c_str(), "r");
    const bool told = child != nullptr && 4 == std::fscanf(child, "%lf %lf %lf %d", &growth.nanoseconds,
                                                           &growth.overhead, &growth.givenBack, &right);
    if (child != nullptr) {
        pclose(child);
    }
    out.error = told && right == 1 ? nullptr : "a block was not kept";
    out.nanoseconds = growth.nanoseconds;
    out.more = {{"overhead bytes", growth.overhead}, {"given back %", growth.givenBack}};
    return out;
}

template <class Kind> void AddGrowth(const char* who) {
    if (!Kind::Has()) {
        return;
    }
    const char* const wanted = std::getenv(GrowVariable);
    if (wanted != nullptr && std::string(wanted) == who) {
        const Growth growth = GrowHere<Kind>();
        std::printf("%f %f %f %d\n", growth.nanoseconds, growth.overhead, growth.givenBack, growth.right ? 1 : 0);
        std::exit(0);
    }
    bench::Batch("growth from nothing", who, [who] { return Grow<Kind>(who); });
}

template <class Kind> void AddSingle(const char* who) {
    if (Kind::Has()) {
        bench::Loop("single blocks, last in first out (half a pair)", who, Single<Kind, Order::LastInFirstOut>);
        bench::Loop("single blocks, first in first out", who, Single<Kind, Order::FirstInFirstOut>);
        bench::Loop("single blocks, random", who, Single<Kind, Order::Random>);
    }
}
template <class Kind> void AddRuns(const char* who) {
    if (Kind::Has()) {
        for (const std::size_t count : {200, 2000}) {
            bench::Batch("runs of 1 to 8 of " + std::to_string(count) + " live", who,
                         [count] { return Runs<Kind>(count); });
        }
    }
}
}  // namespace

void bench::Register() {
    AddSingle<OurPool<false, 256>>("ZQMemoryPool");
    AddGrowth<OurPool<false, 256>>("ZQMemoryPool");
    AddSingle<OurPool<true, 256>>("ZQMemoryPool, ordered");
    AddGrowth<OurPool<true, 256>>("ZQMemoryPool, ordered");
    AddRuns<OurPool<true, 256>>("ZQMemoryPool, ordered");
    AddSingle<FreeList>("floor: free list");
    AddSingle<SharedFreeList<0>>("free list behind calls");
    AddSingle<SharedFreeList<16>>("free list behind calls, with headers");
    AddGrowth<FreeList>("floor: free list");
    AddSingle<Glibc>("glibc malloc");
    AddGrowth<Glibc>("glibc malloc");
    AddRuns<Glibc>("glibc malloc");
#ifdef ZQ_HAVE_BOOST
    AddSingle<BoostPool>("boost::pool");
    AddGrowth<BoostPool>("boost::pool");
    // No growth of these: to give all back in random order it would take minutes.
    AddSingle<BoostOrdered>("boost::pool, ordered");
    AddRuns<BoostOrdered>("boost::pool, ordered");
#endif
    AddSingle<Pmr>("std::pmr pool");
    AddGrowth<Pmr>("std::pmr pool");
    AddRuns<Pmr>("std::pmr pool");
    if (!Jemalloc::Has() || !Mimalloc::Has()) {
        benchmark::AddCustomContext("absent at run time", std::string(Jemalloc::Has() ? "" : "jemalloc ") +
                                                              (Mimalloc::Has() ? "" : "mimalloc"));
    }
    AddSingle<Jemalloc>("jemalloc");
    AddGrowth<Jemalloc>("jemalloc");
    AddRuns<Jemalloc>("jemalloc");
    AddSingle<Mimalloc>("mimalloc");
    AddGrowth<Mimalloc>("mimalloc");
    AddRuns<Mimalloc>("mimalloc");
}
