#ifndef ZQ_BENCH_POOLCONTESTANTS_H
#define ZQ_BENCH_POOLCONTESTANTS_H

/// The pools of this library and the floors: each runs RunTask(number) for every number that is submitted.

#include "Bench.h"

#include <ZQThreadPool.h>

#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <queue>

/// What the tasks do in the running contest; set before the pool is made.
extern void (*RunTask)(long number);

inline void* PointerOf(long number) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(number + 1)); }
inline long NumberOf(const void* pointer) { return static_cast<long>(reinterpret_cast<std::intptr_t>(pointer)) - 1; }

/// How a pool that is given its tasks one by one is given many. A full pool is tried again, as its user would.
template <class Pool> struct PoolBase {
    static constexpr long Share = 1;               // of a contest's tasks one in so many is run
    static constexpr bool ProducerAwaits = false;  // whether Produce() returns only when its tasks have run

    void Produce(long first, long count) {
        for (long i = first; i < first + count; ++i) {
            while (!static_cast<Pool*>(this)->Submit(i)) { std::this_thread::yield(); }
        }
    }
};

struct OurTaskPool : PoolBase<OurTaskPool> {
    OurTaskPool(int slots, long bound) : threads(ZQRefThreadPool::Create(2, 0)), pool(bound, slots) {
        pool.Init(
            threads.get(), [](void* data, void*) { RunTask(NumberOf(data)); }, nullptr, nullptr);
    }
    ~OurTaskPool() { pool.Uninit(true); }
    bool Submit(long number) { return pool.Task(PointerOf(number), false) == 0; }

    struct Unref {
        void operator()(ZQRefThreadPool* unneeded) const { unneeded->Unref(); }
    };
    std::unique_ptr<ZQRefThreadPool, Unref> threads;  // goes after the task pool
    ZQTaskPool pool;
};

struct OurRefThreadPool : PoolBase<OurRefThreadPool> {
    OurRefThreadPool(int threads, long) : pool(ZQRefThreadPool::Create(threads, 0)) {}
    ~OurRefThreadPool() { pool->Unref(); }
    bool Submit(long number) {
        return pool->Start([](void* data, long) { RunTask(NumberOf(data)); }, PointerOf(number));
    }
    ZQRefThreadPool* pool;
};

struct OurThreadPool : PoolBase<OurThreadPool> {
    OurThreadPool(int threads, long) : pool(threads, threads, 0) {}
    bool Submit(long number) {
        return pool.Start([](void* data) { RunTask(NumberOf(data)); }, PointerOf(number));
    }
    ZQThreadPool pool;
};

/// The floor: a ring of numbers under one mutex. Without a bound it has room for all tasks of a contest.
class Ring : public PoolBase<Ring> {
public:
    Ring(int threads, long bound)
        : m_bound(bound > 0 ? static_cast<std::size_t>(bound) : std::size_t{1} << 20), m_numbers(std::size_t{1} << 20) {
        for (int i = 0; i < threads; ++i) {
            m_threads.emplace_back([this] { Run(); });
        }
    }
    ~Ring() {
        pthread_mutex_lock(&m_mutex);
        m_stop = true;
        pthread_mutex_unlock(&m_mutex);
        pthread_cond_broadcast(&m_cond);
        for (std::thread& thread : m_threads) { thread.join(); }
    }
    bool Submit(long number) {
        pthread_mutex_lock(&m_mutex);
        if (m_end - m_begin == m_bound) {
            pthread_mutex_unlock(&m_mutex);
            return false;
        }
        m_numbers[m_end++ % m_numbers.size()] = number;
        const bool wake = m_idle > 0;
        pthread_mutex_unlock(&m_mutex);
        if (wake) {
            pthread_cond_signal(&m_cond);
        }
        return true;
    }

private:
    void Run() {
        pthread_mutex_lock(&m_mutex);
        for (;;) {
            while (m_begin == m_end && !m_stop) {
                ++m_idle;
                pthread_cond_wait(&m_cond, &m_mutex);
                --m_idle;
            }
            if (m_begin == m_end) {
                break;
            }
            const long number = m_numbers[m_begin++ % m_numbers.size()];
            pthread_mutex_unlock(&m_mutex);
            RunTask(number);
            pthread_mutex_lock(&m_mutex);
        }
        pthread_mutex_unlock(&m_mutex);
    }

    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_cond = PTHREAD_COND_INITIALIZER;
    const std::size_t m_bound;
    std::vector<long> m_numbers;
    std::size_t m_begin = 0, m_end = 0;
    int m_idle = 0;
    bool m_stop = false;
    std::vector<std::thread> m_threads;
};

/// What a competent programmer writes in a quarter of an hour.
class Textbook : public PoolBase<Textbook> {
public:
    Textbook(int threads, long bound) : m_bound(bound > 0 ? static_cast<std::size_t>(bound) : SIZE_MAX) {
        for (int i = 0; i < threads; ++i) {
            m_threads.emplace_back([this] { Run(); });
        }
    }
    ~Textbook() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stop = true;
        }
        m_cond.notify_all();
        for (std::thread& thread : m_threads) { thread.join(); }
    }
    bool Submit(long number) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_tasks.size() >= m_bound) {
                return false;
            }
            m_tasks.push([number] { RunTask(number); });
        }
        m_cond.notify_one();
        return true;
    }

private:
    void Run() {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_cond.wait(lock, [this] { return m_stop || !m_tasks.empty(); });
            if (m_tasks.empty()) {
                return;
            }
            const std::function<void()> task = std::move(m_tasks.front());
            m_tasks.pop();
            lock.unlock();
            task();
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_cond;
    const std::size_t m_bound;
    std::queue<std::function<void()>> m_tasks;
    bool m_stop = false;
    std::vector<std::thread> m_threads;
};

/// The floor of a latency: one thread, one place, one condition. A pool whose idle threads may leave wakes them now and then:
/// with such a limit, which ours has, the system has a timer to take back at every wake.
template <bool Limited> class HandOff : public PoolBase<HandOff<Limited>> {
public:
    HandOff(int, long) : m_thread([this] { Run(); }) {}
    ~HandOff() {
        Put(-2);
        m_thread.join();
    }
    bool Submit(long number) {
        Put(number);
        return true;
    }

private:
    void Put(long number) {
        pthread_mutex_lock(&m_mutex);
        m_number = number;
        pthread_cond_signal(&m_cond);
        pthread_mutex_unlock(&m_mutex);
    }
    void Run() {
        for (;;) {
            pthread_mutex_lock(&m_mutex);
            while (m_number == -1) { Wait(); }
            const long number = m_number;
            m_number = -1;
            pthread_mutex_unlock(&m_mutex);
            if (number == -2) {
                return;
            }
            RunTask(number);
        }
    }
    void Wait() {
        if (Limited) {
            timespec until;
            clock_gettime(CLOCK_REALTIME, &until);
            ++until.tv_sec;
            pthread_cond_timedwait(&m_cond, &m_mutex, &until);
        } else {
            pthread_cond_wait(&m_cond, &m_mutex);
        }
    }

    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_cond = PTHREAD_COND_INITIALIZER;
    long m_number = -1;
    std::thread m_thread;
};

#endif
