#ifndef ZQ_BENCH_POOLRIVALS_H
#define ZQ_BENCH_POOLRIVALS_H

/// The pools of other libraries, each where it is installed. None of them refuses a task, so a bound, where a contest asks for
/// one, is what their user would have to write: a count of what waits.

#include "PoolContestants.h"

#include <cstdlib>

#ifdef ZQ_HAVE_BOOST
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>

struct AsioPool : PoolBase<AsioPool> {
    AsioPool(int threads, long) : pool(static_cast<std::size_t>(threads)) {}
    ~AsioPool() { pool.join(); }
    bool Submit(long number) {
        boost::asio::post(pool, [number] { RunTask(number); });
        return true;
    }
    boost::asio::thread_pool pool;
};

/// One task at a time, in order, on as many threads as our pool of one slot may borrow.
struct AsioStrand : PoolBase<AsioStrand> {
    AsioStrand(int, long most) : pool(2), strand(boost::asio::make_strand(pool)), bound(most) {}
    ~AsioStrand() { pool.join(); }
    bool Submit(long number) {
        if (bound == 0) {
            boost::asio::post(strand, [number] { RunTask(number); });
            return true;
        }
        if (waiting.fetch_add(1, std::memory_order_relaxed) >= bound) {
            waiting.fetch_sub(1, std::memory_order_relaxed);
            return false;
        }
        boost::asio::post(strand, [this, number] {
            waiting.fetch_sub(1, std::memory_order_relaxed);
            RunTask(number);
        });
        return true;
    }
    boost::asio::thread_pool pool;
    boost::asio::strand<boost::asio::thread_pool::executor_type> strand;
    const long bound;
    std::atomic<long> waiting{0};
};
#endif

#ifdef ZQ_HAVE_TBB
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

/// Does not promise an order.
struct TbbArena : PoolBase<TbbArena> {
    TbbArena(int threads, long)
        : control(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads) + 1),
          arena(threads, 0) {}
    bool Submit(long number) {
        arena.enqueue([number] { RunTask(number); });
        return true;
    }
    tbb::global_control control;
    tbb::task_arena arena;
};
#endif

#ifdef ZQ_HAVE_GLIB
#include <glib.h>

struct GlibPool : PoolBase<GlibPool> {
    GlibPool(int threads, long most)
        : pool(g_thread_pool_new([](gpointer data, gpointer) { RunTask(NumberOf(data)); }, nullptr, threads, TRUE,
                                 nullptr)),
          bound(most) {}
    ~GlibPool() { g_thread_pool_free(pool, FALSE, TRUE); }
    bool Submit(long number) {
        if (bound > 0 && g_thread_pool_unprocessed(pool) >= bound) {
            return false;
        }
        g_thread_pool_push(pool, PointerOf(number), nullptr);
        return true;
    }
    GThreadPool* pool;
    const long bound;
};
#endif

#ifdef ZQ_HAVE_APRUTIL
#include <apr_general.h>
#include <apr_thread_pool.h>

/// So slow under load that a tenth of the tasks must do.
struct AprPool : PoolBase<AprPool> {
    static constexpr long Share = 10;
    AprPool(int threads, long) {
        apr_initialize();
        apr_pool_create(&memory, nullptr);
        apr_thread_pool_create(&pool, static_cast<apr_size_t>(threads), static_cast<apr_size_t>(threads), memory);
    }
    ~AprPool() {
        apr_thread_pool_destroy(pool);
        apr_pool_destroy(memory);
        apr_terminate();
    }
    static void* APR_THREAD_FUNC Run(apr_thread_t*, void* data) {
        RunTask(NumberOf(data));
        return nullptr;
    }
    bool Submit(long number) {
        return apr_thread_pool_push(pool, Run, PointerOf(number), APR_THREAD_TASK_PRIORITY_NORMAL, nullptr) == 0;
    }
    apr_pool_t* memory = nullptr;
    apr_thread_pool_t* pool = nullptr;
};
#endif

#ifdef ZQ_HAVE_UV
#include <uv.h>

/// The threads are those of the process, UV_THREADPOOL_SIZE of them. Tasks are queued by a loop, which belongs to its thread, so
/// every producer has its own.
struct UvPool : PoolBase<UvPool> {
    static constexpr bool ProducerAwaits = true;

    UvPool(int, long) {}
    static bool Has(int threads) {
        const char* size = std::getenv("UV_THREADPOOL_SIZE");
        return size != nullptr && std::atoi(size) == threads;
    }
    static bool Queue(uv_loop_t* loop, long number) {
        uv_work_t* work = static_cast<uv_work_t*>(std::malloc(sizeof(uv_work_t)));
        work->data = PointerOf(number);
        return 0 == uv_queue_work(
                        loop, work, [](uv_work_t* self) { RunTask(NumberOf(self->data)); },
                        [](uv_work_t* self, int) { std::free(self); });
    }
    void Produce(long first, long count) {
        uv_loop_t loop;
        uv_loop_init(&loop);
        for (long i = first; i < first + count; ++i) { Queue(&loop, i); }
        uv_run(&loop, UV_RUN_DEFAULT);
        uv_loop_close(&loop);
    }
    bool Submit(long number) {
        thread_local uv_loop_t* loop = nullptr;  // for latencies: one thread submits, task after task
        if (loop == nullptr) {
            loop = new uv_loop_t;
            uv_loop_init(loop);
        }
        uv_run(loop, UV_RUN_NOWAIT);  // takes what is done off
        return Queue(loop, number);
    }
};
#endif

#endif
