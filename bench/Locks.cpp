// Locks: alone, contended, for reading, and a hand-over by a condition.

#include "Bench.h"

#include <ZQMutex.h>

#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <shared_mutex>

#ifdef ZQ_HAVE_ABSL
#include <absl/synchronization/mutex.h>
#endif
#ifdef ZQ_HAVE_GLIB
#include <glib.h>
#endif

namespace {
// Each adapter is a lock with its condition and does nothing but forward. The analysis of locks cannot follow them.
struct Pthread {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t cond = PTHREAD_COND_INITIALIZER;
    pthread_rwlock_t rw = PTHREAD_RWLOCK_INITIALIZER;
    void Lock() { pthread_mutex_lock(&mutex); }
    void Unlock() { pthread_mutex_unlock(&mutex); }
    void Wait() { pthread_cond_wait(&cond, &mutex); }
    void Signal() { pthread_cond_signal(&cond); }
    void LockRead() { pthread_rwlock_rdlock(&rw); }
    void UnlockRead() { pthread_rwlock_unlock(&rw); }
};

struct Ours {
    ZQMutex mutex;
    ZQCond cond;
    ZQMutexRW rw;
    void Lock() ZQ_NO_THREAD_SAFETY_ANALYSIS { mutex.Lock(); }
    void Unlock() ZQ_NO_THREAD_SAFETY_ANALYSIS { mutex.Unlock(); }
    void Wait() ZQ_NO_THREAD_SAFETY_ANALYSIS { cond.Wait(mutex); }
    void Signal() { cond.Signal(); }
    void LockRead() ZQ_NO_THREAD_SAFETY_ANALYSIS { rw.LockRead(); }
    void UnlockRead() ZQ_NO_THREAD_SAFETY_ANALYSIS { rw.UnlockRead(); }
};

struct Standard {
    std::mutex mutex;
    std::condition_variable cond;
    std::shared_mutex rw;
    void Lock() { mutex.lock(); }
    void Unlock() { mutex.unlock(); }
    void Wait() {
        std::unique_lock<std::mutex> lock(mutex, std::adopt_lock);
        cond.wait(lock);
        lock.release();
    }
    void Signal() { cond.notify_one(); }
    void LockRead() { rw.lock_shared(); }
    void UnlockRead() { rw.unlock_shared(); }
};

#ifdef ZQ_HAVE_ABSL
struct Absl {
    absl::Mutex mutex;
    absl::CondVar cond;
    absl::Mutex rw;
    void Lock() ZQ_NO_THREAD_SAFETY_ANALYSIS { mutex.Lock(); }
    void Unlock() ZQ_NO_THREAD_SAFETY_ANALYSIS { mutex.Unlock(); }
    void Wait() { cond.Wait(&mutex); }
    void Signal() { cond.Signal(); }
    void LockRead() ZQ_NO_THREAD_SAFETY_ANALYSIS { rw.ReaderLock(); }
    void UnlockRead() ZQ_NO_THREAD_SAFETY_ANALYSIS { rw.ReaderUnlock(); }
};
#endif

#ifdef ZQ_HAVE_GLIB
struct Glib {
    GMutex mutex;
    GCond cond;
    GRWLock rw;
    Glib() {
        g_mutex_init(&mutex);
        g_cond_init(&cond);
        g_rw_lock_init(&rw);
    }
    ~Glib() {
        g_rw_lock_clear(&rw);
        g_cond_clear(&cond);
        g_mutex_clear(&mutex);
    }
    void Lock() { g_mutex_lock(&mutex); }
    void Unlock() { g_mutex_unlock(&mutex); }
    void Wait() { g_cond_wait(&cond, &mutex); }
    void Signal() { g_cond_signal(&cond); }
    void LockRead() { g_rw_lock_reader_lock(&rw); }
    void UnlockRead() { g_rw_lock_reader_unlock(&rw); }
};
#endif

// Where chance puts a lock across two cache lines it costs a third more, whosever it is; so each begins one.
template <class Kind> bool Alone(benchmark::State& state) {
    alignas(64) Kind lock;
    long count = 0;
    for (auto _ : state) {
        lock.Lock();
        benchmark::DoNotOptimize(++count);
        lock.Unlock();
    }
    return count == state.iterations();
}

template <class Kind> bool ReadAlone(benchmark::State& state) {
    alignas(64) Kind lock;
    long count = 0;
    for (auto _ : state) {
        lock.LockRead();
        benchmark::DoNotOptimize(++count);
        lock.UnlockRead();
    }
    return count == state.iterations();
}

template <class Kind> bench::Outcome Contended(int threads) {
    alignas(64) Kind lock;
    long count = 0;
    const long each = bench::Scaled(500000, 100000) / threads;
    bench::Outcome out;
    out.nanoseconds = bench::RunTogether(threads, [&](int) {
        for (long i = 0; i < each; ++i) {
            lock.Lock();
            benchmark::DoNotOptimize(++count);
            lock.Unlock();
        }
    });
    out.operations = static_cast<double>(each * threads);
    out.error = count == each * threads ? nullptr : "the lock did not keep the threads apart";
    return out;
}

template <class Kind> bench::Outcome ReadTogether() {
    Kind lock;
    const long each = bench::Scaled(125000, 50000);
    long counts[2][16] = {};  // on cache lines of their own
    bench::Outcome out;
    out.nanoseconds = bench::RunTogether(2, [&](int thread) {
        for (long i = 0; i < each; ++i) {
            lock.LockRead();
            benchmark::DoNotOptimize(++counts[thread][0]);
            lock.UnlockRead();
        }
    });
    out.operations = static_cast<double>(2 * each);
    out.error = counts[0][0] == each && counts[1][0] == each ? nullptr : "a reader did not come through";
    return out;
}

/// Two threads hand the turn to each other; an operation is one hand-over.
template <class Kind> bench::Outcome PingPong() {
    Kind lock;
    int turn = 0;
    const long rounds = bench::Scaled(5000, 1000);
    long taken[2] = {};
    bench::Outcome out;
    out.nanoseconds = bench::RunTogether(2, [&](int thread) {
        for (long i = 0; i < rounds; ++i) {
            lock.Lock();
            while (turn != thread) { lock.Wait(); }
            ++taken[thread];
            turn = 1 - thread;
            lock.Signal();
            lock.Unlock();
        }
    });
    out.operations = static_cast<double>(2 * rounds);
    out.error = taken[0] == rounds && taken[1] == rounds ? nullptr : "a turn got lost";
    return out;
}

template <class Kind> void Add(const char* mutex, const char* rw) {
    bench::Loop("lock and unlock alone", mutex, Alone<Kind>);
    bench::Batch("lock and unlock, 2 threads", mutex, [] { return Contended<Kind>(2); });
    bench::Batch("lock and unlock, 4 threads", mutex, [] { return Contended<Kind>(4); });
    bench::Loop("read lock alone", rw, ReadAlone<Kind>);
    bench::Batch("read lock, 2 threads", rw, ReadTogether<Kind>);
    bench::Batch("ping-pong over a condition", mutex, PingPong<Kind>);
}
}  // namespace

void bench::Register() {
    // A second thread, asleep for ever: locks may take short cuts in a process of one thread, which no user of locks has.
    static pthread_mutex_t never = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&never);
    std::thread([] { pthread_mutex_lock(&never); }).detach();

    Add<Ours>("ZQMutex", "ZQMutexRW");
    Add<Pthread>("floor: pthread", "floor: pthread");
    Add<Standard>("std::mutex", "std::shared_mutex");
#ifdef ZQ_HAVE_ABSL
    Add<Absl>("absl::Mutex", "absl::Mutex");
#endif
#ifdef ZQ_HAVE_GLIB
    Add<Glib>("GMutex", "GRWLock");
#endif
}
