#ifndef ZQTESTS_THREADS_H
#define ZQTESTS_THREADS_H

#include <thread>
#include <vector>

/// Runs `action(0)` to `action(nThreads - 1)` at the same time, each on a thread of its own, and waits for all.
template <class Action> void InThreads(int nThreads, Action action) {
    std::vector<std::thread> threads;
    for (int i = 0; i < nThreads; ++i) { threads.emplace_back(action, i); }
    for (auto& thread : threads) { thread.join(); }
}

#endif
