#include "Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> allocations{0};

void* Allocate(std::size_t size) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size != 0 ? size : 1);
}
}  // namespace

long AllocationCount() { return allocations.load(std::memory_order_relaxed); }

// The program's own operators serve the library too.
void* operator new(std::size_t size) {
    void* p = Allocate(size);
    if (p == nullptr) {
        throw std::bad_alloc();
    }
    return p;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }

void operator delete(void* p) noexcept { std::free(p); }

void operator delete(void* p, std::size_t) noexcept { std::free(p); }

void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
