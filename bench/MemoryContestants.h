#ifndef ZQ_BENCH_MEMORYCONTESTANTS_H
#define ZQ_BENCH_MEMORYCONTESTANTS_H

/// Allocators of blocks of `Unit` bytes, and of runs of such blocks, behind one face: Take(n), Give(block, n), Trim().

#include "Bench.h"
#include "FreeList.h"

#include <ZQMemoryPool.h>

#include <cstdlib>
#include <dlfcn.h>
#include <malloc.h>
#include <memory_resource>

#ifdef ZQ_HAVE_BOOST
#include <boost/pool/pool.hpp>
#endif

/// `Ordered` keeps runs of free slices together, `Chunk` slices are taken from the system at a time.
template <bool Ordered, unsigned Chunk> struct OurPool {
    static constexpr bool Runs = true;
    static bool Has() { return true; }
    ZQMemoryPool pool{Unit, Chunk, 0, Ordered};
    void* Take(unsigned n) { return pool.Malloc(static_cast<unsigned short>(n)); }
    void Give(void* block, unsigned) { pool.Free(block); }
    void Trim() { pool.ShrinkMemory(0); }
};

/// The floor of a list in order: each chunk has one of its free blocks, sorted by address, and a free goes over it from its
/// start. Chunks lie side by side, so nothing has to be read to find that of a block. It knows no runs, and has an end.
struct OrderedFreeList {
    static constexpr bool Runs = false;
    static constexpr std::size_t Chunk = 256, Most = 1 << 12;
    static bool Has() { return true; }
    struct Free {
        Free* next;
    };
    char* const slices = static_cast<char*>(std::malloc(Most * Chunk * Unit));
    std::vector<Free*> first;         // by chunk
    std::vector<std::size_t> listed;  // the chunks with a free block, the last to get one at the end
    ~OrderedFreeList() { std::free(slices); }
    void Grow() {
        char* const chunk = slices + first.size() * Chunk * Unit;
        first.push_back(nullptr);
        for (std::size_t i = Chunk; i-- > 0;) { Give(chunk + i * Unit, 1); }
    }
    void* Take(unsigned) {
        if (listed.empty()) {
            Grow();
        }
        Free*& link = first[listed.back()];
        Free* const block = link;
        link = block->next;
        if (link == nullptr) {
            listed.pop_back();
        }
        return block;
    }
    void Give(void* block, unsigned) {
        const std::size_t chunk = static_cast<std::size_t>(static_cast<char*>(block) - slices) / (Chunk * Unit);
        Free** link = &first[chunk];
        if (*link == nullptr) {
            listed.push_back(chunk);
        }
        while (*link != nullptr && *link < block) { link = &(*link)->next; }
        Free* const free = static_cast<Free*>(block);
        free->next = *link;
        *link = free;
    }
    void Trim() {}
};

struct Glibc {
    static constexpr bool Runs = true;
    static bool Has() { return true; }
    void* Take(unsigned n) { return std::malloc(n * Unit); }
    void Give(void* block, unsigned) { std::free(block); }
    void Trim() { malloc_trim(0); }
};

struct Pmr {
    static constexpr bool Runs = true;
    static bool Has() { return true; }
    std::pmr::unsynchronized_pool_resource resource;
    void* Take(unsigned n) { return resource.allocate(n * Unit, 16); }
    void Give(void* block, unsigned n) { resource.deallocate(block, n * Unit, 16); }
    void Trim() { resource.release(); }
};

#ifdef ZQ_HAVE_BOOST
struct BoostPool {
    static constexpr bool Runs = false;
    static bool Has() { return true; }
    boost::pool<boost::default_user_allocator_malloc_free> pool{Unit, 256};
    void* Take(unsigned) { return pool.malloc(); }
    void Give(void* block, unsigned) { pool.free(block); }
    void Trim() { pool.purge_memory(); }  // it cannot give back what is free unless it has kept it in order
};

struct BoostOrdered {
    static constexpr bool Runs = true;
    static bool Has() { return true; }
    boost::pool<boost::default_user_allocator_malloc_free> pool{Unit, 256};
    void* Take(unsigned n) { return pool.ordered_malloc(n); }
    void Give(void* block, unsigned n) { pool.ordered_free(block, n); }
    void Trim() { pool.release_memory(); }
};
#endif

/// An allocator that would replace `malloc` for everybody if it were linked. So it is loaded with its names kept to itself
/// (RTLD_LOCAL, and RTLD_DEEPBIND for its own calls) and called by pointer, as a call into a shared library is anyway.
struct Loaded {
    void* (*take)(std::size_t) = nullptr;
    void (*give)(void*) = nullptr;
    void (*collect)(bool) = nullptr;                                                 // mimalloc
    int (*control)(const char*, void*, std::size_t*, void*, std::size_t) = nullptr;  // jemalloc

    Loaded(const char* file, const char* takeName, const char* giveName) {
        void* const module = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
        if (module != nullptr) {
            take = reinterpret_cast<void* (*)(std::size_t)>(dlsym(module, takeName));
            give = reinterpret_cast<void (*)(void*)>(dlsym(module, giveName));
            collect = reinterpret_cast<void (*)(bool)>(dlsym(module, "mi_collect"));
            control = reinterpret_cast<decltype(control)>(dlsym(module, "mallctl"));
        }
    }
};

/// An allocator called through the pointers of @p Module, which says where they come from.
template <class Module> struct LoadedAllocator {
    static constexpr bool Runs = true;
    static bool Has() { return Module::Get().give != nullptr; }
    void* (*const take)(std::size_t) = Module::Get().take;
    void (*const give)(void*) = Module::Get().give;
    void* Take(unsigned n) { return take(n * Unit); }
    void Give(void* block, unsigned) { give(block); }
};

struct JemallocModule {
    static const Loaded& Get() {
        static const Loaded module("libjemalloc.so.2", "malloc", "free");
        return module;
    }
};

struct Jemalloc : LoadedAllocator<JemallocModule> {
    void Trim() {
        JemallocModule::Get().control("thread.tcache.flush", nullptr, nullptr, nullptr, 0);
        JemallocModule::Get().control("arena.4096.purge", nullptr, nullptr, nullptr, 0);  // 4096: all arenas
    }
};

struct MimallocModule {
    static const Loaded& Get() {
        static const Loaded module("libmimalloc.so.2", "mi_malloc", "mi_free");
        return module;
    }
};

struct Mimalloc : LoadedAllocator<MimallocModule> {
    void Trim() { MimallocModule::Get().collect(true); }
};

#endif
