#include "Bench.h"

#include <atomic>
#include <cstddef>

// The C library's own functions under their other names, so that what is counted here is freed there as ever. `new` comes by
// `malloc`, so it is counted too, and so is what libraries in C take.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);

namespace {
// A counter for each thread, so that counting costs hardly anything and no contestant pays for another thread's cache line.
// After 1024 threads the counters are shared with threads that have long ended.
struct alignas(64) Counter {
    std::atomic<long> taken{0};
};
Counter counters[1024];
std::atomic<unsigned> threads{0};
thread_local Counter* own = nullptr;

void Count() {
    if (own == nullptr) {
        own = &counters[threads.fetch_add(1, std::memory_order_relaxed) % 1024];
    }
    own->taken.store(own->taken.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}
}  // namespace

long bench::Allocations() {
    long all = 0;
    for (const Counter& counter : counters) { all += counter.taken.load(std::memory_order_relaxed); }
    return all;
}

extern "C" void* malloc(std::size_t size) {
    Count();
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
    Count();
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, std::size_t size) {
    Count();
    return __libc_realloc(block, size);
}
