// What a call into a shared library costs the floor of the memory benchmark, and what a header before each block does.

#include "FreeList.h"

template <std::size_t Header> void* SharedFreeList<Header>::Take(unsigned n) { return list.Take(n); }
template <std::size_t Header> void SharedFreeList<Header>::Give(void* block, unsigned n) { list.Give(block, n); }

template struct SharedFreeList<0>;
template struct SharedFreeList<16>;
