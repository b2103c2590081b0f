#ifndef ZQTESTS_THREADS_H
#define ZQTESTS_THREADS_H

#include <ZQThreadPool.h>
#include <ZQTime.h>

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <list>
#include <thread>
#include <vector>

/// The number of calls of operator new so far, by all threads, the library's included.
long AllocationCount();
/// How many of them are not freed.
long LiveAllocations();

inline void SleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

/// Waits until @p condition() is true.
template <class Condition> void Await(Condition condition) {
    while (!condition()) { std::this_thread::yield(); }
}

/// Counts arrivals; threads wait until there are enough.
class Gate {
public:
    void Arrive() { ++m_nArrivals; }
    void WaitFor(int nArrivals) const {
        while (m_nArrivals < nArrivals) { std::this_thread::sleep_for(std::chrono::microseconds(50)); }
    }
    int Arrivals() const { return m_nArrivals; }

private:
    std::atomic<int> m_nArrivals{0};
};

/// Runs `action(0)` to `action(nThreads - 1)` at the same time, each on a thread of its own, and waits for all.
template <class Action> void InThreads(int nThreads, Action action) {
    std::vector<std::thread> threads;
    for (int i = 0; i < nThreads; ++i) { threads.emplace_back(action, i); }
    for (auto& thread : threads) { thread.join(); }
}

/// Arrives at the gate that it is given, as a task of any pool, as a thread or as a timer.
inline void ArriveAt(void* gate) { static_cast<Gate*>(gate)->Arrive(); }
inline void ArriveAt(void* gate, long) { ArriveAt(gate); }
inline void ArriveAt(void* gate, void*) { ArriveAt(gate); }
inline void ArriveAt(ZQThread&, void* gate) { ArriveAt(gate); }
inline void ArriveAt(ZQTimer&, void* gate) { ArriveAt(gate); }

/// Keeps a worker busy until it is told to finish.
struct Block {
    Gate entered, opened, left;

    static void Run(void* p) {
        Block& block = *static_cast<Block*>(p);
        block.entered.Arrive();
        block.opened.WaitFor(1);
        block.left.Arrive();
    }
    static void Run(void* p, long) { Run(p); }
    static void Run(ZQTimer&, void* p) { Run(p); }
    template <class Pool> void Occupy(Pool& pool) {
        pool.Start(Run, this);
        entered.WaitFor(1);
    }
    void Finish() {
        opened.Arrive();
        left.WaitFor(1);
    }
};

/// A task that notes how many of its kind ran before it, and where it runs.
struct Turn {
    Gate* done;
    int number = -1;
    long threadId = -1;

    static void Take(void* p, long threadId) {
        Turn& turn = *static_cast<Turn*>(p);
        turn.number = turn.done->Arrivals();
        turn.threadId = threadId == ZQThread::GetCurrentThreadID() ? threadId : -1;
        turn.done->Arrive();
    }
    static void Take(void* p) { Take(p, ZQThread::GetCurrentThreadID()); }
};

inline void ExpectOrder(const std::vector<Turn>& turns) {
    for (const Turn& turn : turns) { EXPECT_EQ(turn.number, &turn - turns.data()); }
}

/// Starts @p nWorkers workers and has @p nTasks tasks queued at a time, so that everything that the pool keeps is there.
inline void WarmUp(ZQRefThreadPool& pool, int nWorkers, int nTasks) {
    std::list<Block> blocks(static_cast<size_t>(nWorkers));
    for (Block& block : blocks) { block.Occupy(pool); }
    Gate done;
    for (int i = 0; i < nTasks; ++i) { pool.Start(ArriveAt, &done); }
    for (Block& block : blocks) { block.Finish(); }
    done.WaitFor(nTasks);
}

/// The allocations of a long stream of tasks: `start(gate)` queues one that arrives there, or tells that it cannot now.
template <class Start> long AllocationsOfStream(Start start) {
    Gate ran;
    const long before = AllocationCount();
    for (int i = 0; i < 100000; ++i) {
        Await([&] { return i - ran.Arrivals() < 500 && start(&ran); });  // no more at a time than in the warm-up
    }
    ran.WaitFor(100000);
    return AllocationCount() - before;
}

#endif
