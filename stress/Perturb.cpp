// A library to preload that makes other schedules likely: around every operation on a mutex or a condition the calling thread now
// and then gives up its processor or sleeps a little, as the seed in ZQ_PERTURB_SEED says.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>

namespace
{
constexpr uint64_t Golden = 0x9e3779b97f4a7c15U;
constexpr long MostNanoseconds = 300000;

std::atomic<uint64_t> s_threads{0};
__attribute__((tls_model("initial-exec"))) thread_local uint64_t t_state = 0;

uint64_t SeedOfThread()
{
    const char* text = std::getenv("ZQ_PERTURB_SEED");
    const uint64_t seed = text != nullptr ? std::strtoul(text, nullptr, 10) : 1;
    return (seed + 1) * Golden + (s_threads.fetch_add(1) + 1) * (Golden >> 7) + 1;
}

void Perturb()
{
    if (t_state == 0)
    {
        t_state = SeedOfThread();
    }
    t_state ^= t_state << 13;
    t_state ^= t_state >> 7;
    t_state ^= t_state << 17;
    const uint64_t chance = (t_state >> 20) % 64;
    if (chance < 8)
    {
        sched_yield();
    }
    else if (chance == 8)
    {
        const timespec time = {0, static_cast<long>((t_state >> 30) % MostNanoseconds)};
        int before = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);  // an operation on a mutex is no cancellation point
        clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
        pthread_setcancelstate(before, nullptr);
    }
}

/// Calls the platform's own @p name, with a perturbation before and after.
template <class Function, class... Args> int Call(std::atomic<Function>& next, const char* name, Args... args)
{
    Function function = next.load(std::memory_order_relaxed);
    if (function == nullptr)
    {
        function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        next.store(function, std::memory_order_relaxed);
    }
    Perturb();
    const int result = function(args...);
    Perturb();
    return result;
}

typedef int (*MutexFunction)(pthread_mutex_t*);
typedef int (*CondFunction)(pthread_cond_t*);
typedef int (*WaitFunction)(pthread_cond_t*, pthread_mutex_t*);
typedef int (*TimedFunction)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
}  // namespace

#define ZQ_PERTURB extern "C" __attribute__((visibility("default"))) int

ZQ_PERTURB pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static std::atomic<MutexFunction> s_next{nullptr};
    return Call(s_next, "pthread_mutex_lock", mutex);
}

ZQ_PERTURB pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    static std::atomic<MutexFunction> s_next{nullptr};
    return Call(s_next, "pthread_mutex_unlock", mutex);
}

ZQ_PERTURB pthread_cond_signal(pthread_cond_t* cond) noexcept
{
    static std::atomic<CondFunction> s_next{nullptr};
    return Call(s_next, "pthread_cond_signal", cond);
}

ZQ_PERTURB pthread_cond_broadcast(pthread_cond_t* cond) noexcept
{
    static std::atomic<CondFunction> s_next{nullptr};
    return Call(s_next, "pthread_cond_broadcast", cond);
}

ZQ_PERTURB pthread_cond_wait(pthread_cond_t* cond, pthread_mutex_t* mutex)
{
    static std::atomic<WaitFunction> s_next{nullptr};
    return Call(s_next, "pthread_cond_wait", cond, mutex);
}

ZQ_PERTURB pthread_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex, const timespec* time)
{
    static std::atomic<TimedFunction> s_next{nullptr};
    return Call(s_next, "pthread_cond_timedwait", cond, mutex, time);
}
