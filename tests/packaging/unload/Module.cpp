#include <ZQThreadPool.h>
#include <ZQTime.h>

static void Arrive(void* data, void*) { __atomic_store_n(static_cast<int*>(data), 1, __ATOMIC_RELEASE); }

static void Tick(ZQTimer&, void* data) { Arrive(data, nullptr); }

/// Uses the process-wide pool and the timers; when this returns, workers and service are idle, not gone.
extern "C" __attribute__((visibility("default"))) bool UseThePool() {
    int arrived = 0, ticked = 0;
    ZQTimer timer(0);
    if (!ZQTimer::ModuleInit(2) || !timer.Init(0, Tick, &ticked) || !timer.Start(true)) {
        return false;
    }
    while (__atomic_load_n(&ticked, __ATOMIC_ACQUIRE) == 0) {}
    ZQTaskPool pool(0, 2);
    if (pool.Init(nullptr, Arrive, nullptr, nullptr) != 0 || pool.Task(&arrived, false) != 0) {
        return false;
    }
    pool.Uninit(true);
    return __atomic_load_n(&arrived, __ATOMIC_ACQUIRE) == 1 && ZQRefThreadPool::Global()->GetCapacity() <= 1;
}
