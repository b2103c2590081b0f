#include <ZQThreadPool.h>

static void Arrive(void* data, void*) { __atomic_store_n(static_cast<int*>(data), 1, __ATOMIC_RELEASE); }

/// Uses the process-wide pool, whose workers are idle, not gone, when this returns.
extern "C" __attribute__((visibility("default"))) bool UseThePool() {
    int arrived = 0;
    ZQTaskPool pool(0, 2);
    if (pool.Init(nullptr, Arrive, nullptr, nullptr) != 0 || pool.Task(&arrived, false) != 0) {
        return false;
    }
    pool.Uninit(true);
    return __atomic_load_n(&arrived, __ATOMIC_ACQUIRE) == 1 && ZQRefThreadPool::Global()->GetCapacity() <= 1;
}
