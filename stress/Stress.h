#ifndef ZQSTRESS_H
#define ZQSTRESS_H

#include <ZQFoundation.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>
#include <thread>
#include <vector>

/// What a part is asked for.
struct StressOptions
{
    unsigned long seed = 1;
    double seconds = 1;      // how long to go on
    long items = 0;          // how many, where a part counts; 0: its own default
    bool stepClock = false;  // the wall clock may be set
};

/// A part: tells its figures in a line on standard output, and ends the process where it finds a fault.
typedef void (*StressPart)(const StressOptions&);

void StressClocks(const StressOptions& options);
void StressForks(const StressOptions& options);
void StressLocks(const StressOptions& options);
void StressMemory(const StressOptions& options);
void StressPools(const StressOptions& options);
void StressTasks(const StressOptions& options);
void StressThreads(const StressOptions& options);
void StressTimers(const StressOptions& options);

/// Ends the process with @p text unless @p holds.
void Demand(bool holds, const char* text);
/// Calls of malloc and its kin so far, by all threads; under a sanitizer -1.
long Allocations();
/// Kilobytes of the process in memory.
long ResidentKb();

/// Numbers that depend on the seed alone, for one thread.
class Chance
{
public:
    Chance(unsigned long seed, int thread)
        : m_random(static_cast<unsigned>(seed * 1000 + static_cast<unsigned long>(thread) + 1))
    {
        m_random.discard(10);
    }
    /// 0 to @p limit - 1.
    unsigned Below(unsigned limit)
    {
        return static_cast<unsigned>(m_random() >> 4) % limit;
    }
    bool OneIn(unsigned n)
    {
        return Below(n) == 0;
    }

private:
    std::minstd_rand m_random;
};

/// Tells when a part is to end.
class Deadline
{
public:
    explicit Deadline(double seconds)
        : m_end(Clock::now() + std::chrono::microseconds(static_cast<long>(seconds * 1e6)))
    {
    }
    bool Passed() const
    {
        return Clock::now() >= m_end;
    }

private:
    typedef std::chrono::steady_clock Clock;
    const Clock::time_point m_end;
};

/// Runs `action(0)` to `action(n - 1)` at the same time and waits for all.
template <class Action> void InThreads(int n, Action action)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < n; ++i)
    {
        threads.emplace_back(action, i);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

inline void Pause(unsigned microseconds)
{
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

#endif
