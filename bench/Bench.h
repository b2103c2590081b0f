#ifndef ZQ_BENCH_H
#define ZQ_BENCH_H

/// What the benchmark programs share. Each area defines Register(), which adds its contests: the same work, called the
/// workload, done by several contestants. The results are named "workload/contestant", so neither has a slash in it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace bench {
/// Adds the contests of an area; defined by its file.
void Register();

/// Blocks taken from the heap so far, by `malloc` or `new`, in all threads; -1 if they are not counted. In
/// Allocations.cpp.
long Allocations();

/// Whether this is a smoke run, in which nobody believes the numbers.
bool Quick();

/// How often to do something: fewer times in a smoke run.
inline long Scaled(long full, long quick) { return Quick() ? quick : full; }

/// Nanoseconds of the monotonic clock.
inline double Now() {
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The value below which a share of the values lies; @p values is reordered.
inline double Percentile(std::vector<double>& values, double share) {
    if (values.empty()) {
        return 0;
    }
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

/// Threads wait here until all of them have come. They stay awake, so that they are off at the same time.
class Gate {
public:
    explicit Gate(int threads) : m_missing(threads) {}
    void Pass() {
        --m_missing;
        while (m_missing > 0) { std::this_thread::yield(); }
    }

private:
    std::atomic<int> m_missing;
};

/// Runs `work(0)` to `work(threads - 1)` at the same time; returns the nanoseconds from the start to the last end.
template <class Work> double RunTogether(int threads, Work work) {
    Gate gate(threads + 1);
    std::vector<std::thread> all;
    for (int i = 0; i < threads; ++i) {
        all.emplace_back([&gate, &work, i] {
            gate.Pass();
            work(i);
        });
    }
    const double before = Now();  // the others may be off before this thread runs again
    gate.Pass();
    for (std::thread& thread : all) { thread.join(); }
    return Now() - before;
}

/// What a batch has come to.
struct Outcome {
    double nanoseconds = 0;
    double operations = 1;
    const char* error = nullptr;  ///< What went wrong, if something did; then the numbers do not count.
    std::vector<std::pair<std::string, double>> more = {};  ///< Further figures.
};

/// Adds a contestant that measures its own work, once a repetition: for what threads do, and for what is slow.
inline void Batch(const std::string& workload, const std::string& who, std::function<Outcome()> run) {
    benchmark::RegisterBenchmark((workload + "/" + who).c_str(),
                                 [run](benchmark::State& state) {
                                     for (auto _ : state) {
                                         const Outcome outcome = run();
                                         if (outcome.error != nullptr) {
                                             state.SkipWithError(outcome.error);
                                             break;
                                         }
                                         state.SetIterationTime(outcome.nanoseconds * 1e-9);
                                         state.counters["ns"] = outcome.nanoseconds / outcome.operations;
                                         for (const auto& figure : outcome.more) {
                                             state.counters[figure.first] = figure.second;
                                         }
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1);
}

/// Adds a contestant whose single operation takes nanoseconds: `body(state)` loops, and returns whether the work was right.
template <class Body> void Loop(const std::string& workload, const std::string& who, Body body) {
    benchmark::RegisterBenchmark((workload + "/" + who).c_str(), [body](benchmark::State& state) {
        const long before = Allocations();
        if (!body(state)) {
            state.SkipWithError("the work was not done right");
            return;
        }
        if (before >= 0) {
            const long taken = Allocations() - before;
            state.counters["allocations"] = static_cast<double>(taken) / static_cast<double>(state.iterations());
        }
    });
}
}  // namespace bench

#endif
