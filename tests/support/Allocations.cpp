#include "FailingCalls.h"
#include "Threads.h"

#include <cstdlib>
#include <new>

static std::atomic<long> allocations{0}, frees{0};

long AllocationCount() { return allocations.load(std::memory_order_relaxed); }
long LiveAllocations() { return allocations - frees; }

// The program's own operators serve the library too.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (AllocationFails()) {
        return nullptr;
    }
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size != 0 ? size : 1);
}

void* operator new(std::size_t size) {
    void* const p = operator new(size, std::nothrow);
    return p != nullptr ? p : throw std::bad_alloc();
}

void operator delete(void* p) noexcept {
    frees.fetch_add(p != nullptr ? 1 : 0, std::memory_order_relaxed);
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept { operator delete(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { operator delete(p); }
