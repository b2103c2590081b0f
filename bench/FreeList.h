#ifndef ZQ_BENCH_FREELIST_H
#define ZQ_BENCH_FREELIST_H

#include <cstddef>
#include <cstdlib>
#include <vector>

constexpr unsigned Unit = 64;

/// The floor: a list through the free blocks themselves, and nothing else. It knows no runs and gives nothing back.
struct FreeList {
    static constexpr bool Runs = false;
    static constexpr std::size_t Chunk = 256;
    static bool Has() { return true; }
    struct Free {
        Free* next;
    };
    Free* first = nullptr;
    std::vector<void*> chunks;
    ~FreeList() {
        for (void* chunk : chunks) { std::free(chunk); }
    }
    void Grow() {
        char* const chunk = static_cast<char*>(std::malloc(Chunk * Unit));
        chunks.push_back(chunk);
        for (std::size_t i = Chunk; i-- > 0;) { Give(chunk + i * Unit, 1); }
    }
    void* Take(unsigned) {
        if (first == nullptr) {
            Grow();
        }
        Free* const block = first;
        first = block->next;
        return block;
    }
    void Give(void* block, unsigned) {
        Free* const free = static_cast<Free*>(block);
        free->next = first;
        first = free;
    }
    void Trim() {}
};

/// The same list where Take() and Give() are functions of a shared library.
struct SharedFreeList {
    static constexpr bool Runs = false;
    static bool Has() { return true; }
    void* Take(unsigned n);
    void Give(void* block, unsigned n);
    void Trim() {}

  private:
    FreeList list;
};

#endif
