// Pools: empty tasks, tasks that queue tasks, and the time until an idle pool starts a task.

#include "PoolRivals.h"

#include <memory>
#include <unistd.h>

void (*RunTask)(long number);

namespace {
/// What a thread has run. Nobody else writes it, so counting costs the same in every pool: hardly anything.
struct alignas(64) Tally {
    std::atomic<long> count{0};
    std::atomic<long> sum{0};
    std::atomic<bool> ordered{true};
    long last = -1;
};
Tally tallies[64];
std::atomic<unsigned> threadsSeen{0};
std::atomic<long> round{0};  // threads of earlier rounds take a new tally

Tally& OwnTally() {
    thread_local Tally* own = nullptr;
    thread_local long ownRound = 0;
    const long now = round.load(std::memory_order_relaxed);
    if (ownRound != now) {
        ownRound = now;
        own = &tallies[threadsSeen.fetch_add(1) % 64];
    }
    return *own;
}

void CountTask(long number) {
    Tally& tally = OwnTally();
    if (number <= tally.last) {
        tally.ordered.store(false, std::memory_order_relaxed);
    }
    tally.last = number;
    tally.sum.store(tally.sum.load(std::memory_order_relaxed) + number, std::memory_order_relaxed);
    tally.count.store(tally.count.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

std::atomic<bool> gateOpen{true};

void CountTaskBehindGate(long number) {
    while (!gateOpen.load(std::memory_order_acquire)) { usleep(50); }
    CountTask(number);
}

void NewRound() {
    for (Tally& tally : tallies) {
        tally.count = 0;
        tally.sum = 0;
        tally.ordered = true;
        tally.last = -1;
    }
    threadsSeen = 0;
    ++round;
}

long Done() {
    long done = 0;
    for (const Tally& tally : tallies) { done += tally.count.load(std::memory_order_acquire); }
    return done;
}

void AwaitDone(long count) {
    while (Done() < count) { usleep(50); }
}

struct Contest {
    int slots;
    int producers;
    long bound;
    bool inOrder;  // whether the tasks must run in the order of their numbers
};

template <class Pool> bench::Outcome EmptyTasks(const Contest& contest) {
    const long count = bench::Scaled(1000000, 40000) / Pool::Share / contest.producers * contest.producers;
    const long each = count / contest.producers;
    // A full round first, in which no task runs before all are queued where there is no bound: so caches are as full as they
    // will be, and threads are there.
    RunTask = CountTaskBehindGate;
    gateOpen = contest.bound > 0 || Pool::ProducerAwaits;
    NewRound();
    Pool pool(contest.slots, contest.bound);
    const auto produce = [&](int producer) { pool.Produce(producer * each, each); };
    bench::RunTogether(contest.producers, produce);
    gateOpen = true;
    AwaitDone(count);
    RunTask = CountTask;
    NewRound();

    bench::Outcome out;
    const long before = bench::Allocations();
    const double began = bench::Now();
    bench::RunTogether(contest.producers, produce);
    AwaitDone(count);
    out.nanoseconds = bench::Now() - began;
    out.operations = static_cast<double>(count);
    out.more.emplace_back("allocations", static_cast<double>(bench::Allocations() - before) / out.operations);

    long sum = 0;
    for (const Tally& tally : tallies) {
        sum += tally.sum;
        out.error = contest.inOrder && !tally.ordered ? "tasks ran out of order" : out.error;
    }
    out.error = Done() == count && sum == count * (count - 1) / 2 ? out.error : "tasks were lost or ran twice";
    return out;
}

template <class Pool> void AddEmpty(const char* who, int slots, bool ordered = true) {
    const std::string slotsText = slots == 1 ? "1 slot" : std::to_string(slots) + " slots";
    for (const int producers : {1, 4}) {
        const Contest contest = {slots, producers, 0, ordered && slots == 1 && producers == 1};
        bench::Batch("empty tasks, " + slotsText + ", " + std::to_string(producers) +
                         (producers == 1 ? " producer" : " producers"),
                     who, [contest] { return EmptyTasks<Pool>(contest); });
    }
}

template <class Pool> void AddBounded(const char* who) {
    bench::Batch("empty tasks, 1 slot, 1 producer, at most 1000 waiting", who, [] {
        return EmptyTasks<Pool>({1, 1, 1000, true});
    });
}

std::atomic<double> startedAt{0};

/// The pool is idle, its thread asleep; the submitter looks on, as one that has other things to do.
template <class Pool> bench::Outcome Latency() {
    const long count = bench::Scaled(500, 200);
    RunTask = [](long) { startedAt.store(bench::Now(), std::memory_order_release); };
    Pool pool(1, 0);
    std::vector<double> latencies;
    for (long i = 0; i < count + 20; ++i) {
        usleep(60);
        startedAt = 0;
        const double submitted = bench::Now();
        pool.Submit(i);
        double started = 0;
        while ((started = startedAt.load(std::memory_order_acquire)) == 0) { std::this_thread::yield(); }
        if (i >= 20) {
            latencies.push_back(started - submitted);
        }
    }
    bench::Outcome out;
    out.error = static_cast<long>(latencies.size()) == count ? nullptr : "a task did not start";
    out.nanoseconds = bench::Percentile(latencies, 0.5);
    out.more.emplace_back("p99 ns", bench::Percentile(latencies, 0.99));
    return out;
}

bool (*submitAgain)(long number);
void* chainPool;

/// Four chains: each task queues the next one of its chain.
template <class Pool> bench::Outcome Chains(int slots) {
    constexpr long Chains = 4;
    const long count = bench::Scaled(1000000, 8000);
    static long all;
    all = count;
    Pool pool(slots, 0);
    chainPool = &pool;
    submitAgain = [](long number) { return static_cast<Pool*>(chainPool)->Submit(number); };
    RunTask = [](long number) {
        if (number + Chains < all) {
            submitAgain(number + Chains);
        }
        CountTask(number);
    };
    NewRound();
    const double began = bench::Now();
    for (long i = 0; i < Chains; ++i) { pool.Submit(i); }
    AwaitDone(count);
    bench::Outcome out;
    out.nanoseconds = bench::Now() - began;
    out.operations = static_cast<double>(count);
    out.error = Done() == count ? nullptr : "a chain broke";
    return out;
}

template <class Pool> void AddLatency(const char* who) {
    bench::Batch("submit to start, idle pool", who, Latency<Pool>);
}
template <class Pool> void AddChains(const char* who) {
    bench::Batch("tasks that queue tasks, 1 slot", who, [] { return Chains<Pool>(1); });
    bench::Batch("tasks that queue tasks, 2 slots", who, [] { return Chains<Pool>(2); });
}
template <class Pool> void Add(const char* who, bool ordered = true) {
    AddEmpty<Pool>(who, 1, ordered);
    AddEmpty<Pool>(who, 2);
    AddChains<Pool>(who);
    AddLatency<Pool>(who);
}
}  // namespace

void bench::Register() {
    Add<OurTaskPool>("ZQTaskPool");
    Add<OurRefThreadPool>("ZQRefThreadPool");
    Add<OurThreadPool>("ZQThreadPool");
    Add<Ring>("floor: ring under a mutex");
    AddLatency<HandOff<false>>("floor: condition");
    AddLatency<HandOff<true>>("condition, at most 1 s");
    Add<Textbook>("textbook std::queue");
    AddBounded<OurTaskPool>("ZQTaskPool");
    AddBounded<Ring>("floor: ring under a mutex");
    AddBounded<Textbook>("textbook std::queue");
#ifdef ZQ_HAVE_BOOST
    AddEmpty<AsioStrand>("asio strand", 1);
    bench::Batch("tasks that queue tasks, 1 slot", "asio strand", [] { return Chains<AsioStrand>(1); });
    AddLatency<AsioStrand>("asio strand");
    AddBounded<AsioStrand>("asio strand");
    Add<AsioPool>("asio thread_pool");
#endif
#ifdef ZQ_HAVE_TBB
    Add<TbbArena>("oneTBB (no order)", false);
#endif
#ifdef ZQ_HAVE_GLIB
    Add<GlibPool>("GThreadPool");
    AddBounded<GlibPool>("GThreadPool");
#endif
#ifdef ZQ_HAVE_APRUTIL
    Add<AprPool>("apr_thread_pool");
#endif
#ifdef ZQ_HAVE_UV
    for (const int slots : {1, 2}) {
        if (UvPool::Has(slots)) {
            AddEmpty<UvPool>("libuv", slots);
        }
    }
    AddLatency<UvPool>("libuv");
#endif
}
