// What a call into a shared library costs the floor of the memory benchmark.

#include "FreeList.h"

void* SharedFreeList::Take(unsigned n) { return list.Take(n); }
void SharedFreeList::Give(void* block, unsigned n) { list.Give(block, n); }
