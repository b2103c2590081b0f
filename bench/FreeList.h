#ifndef ZQ_BENCH_FREELIST_H
#define ZQ_BENCH_FREELIST_H

#include <cstddef>
#include <cstdlib>
#include <vector>

constexpr unsigned Unit = 64;

/// The floor: a list through the free blocks themselves, and nothing else. It knows no runs and gives nothing back.
/// `Header` bytes stand before each block; if there are any, they name the list, and a block that is given back is looked at.
template <std::size_t Header> struct ListOfFree {
    static constexpr bool Runs = false;
    static constexpr std::size_t Chunk = 256, Step = Header + Unit;
    static bool Has() { return true; }
    struct Free {
        Free* next;
    };
    Free* first = nullptr;
    std::vector<void*> chunks;
    ~ListOfFree() {
        for (void* chunk : chunks) { std::free(chunk); }
    }
    static void*& Owner(void* block) { return *reinterpret_cast<void**>(static_cast<char*>(block) - Header); }
    void Grow() {
        char* const chunk = static_cast<char*>(std::malloc(Chunk * Step));
        chunks.push_back(chunk);
        for (std::size_t i = Chunk; i-- > 0;) {
            void* const block = chunk + i * Step + Header;
            if (Header != 0) {
                Owner(block) = this;
            }
            Give(block, 1);
        }
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
        if (Header != 0 && Owner(block) != this) {
            std::abort();
        }
        Free* const free = static_cast<Free*>(block);
        free->next = first;
        first = free;
    }
    void Trim() {}
};

using FreeList = ListOfFree<0>;

/// The same list where Take() and Give() are functions of a shared library.
template <std::size_t Header> struct SharedFreeList {
    static constexpr bool Runs = false;
    static bool Has() { return true; }
    void* Take(unsigned n);
    void Give(void* block, unsigned n);
    void Trim() {}

private:
    ListOfFree<Header> list;
};

extern template struct SharedFreeList<0>;
extern template struct SharedFreeList<16>;

#endif
