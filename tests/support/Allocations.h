#ifndef ZQTESTS_ALLOCATIONS_H
#define ZQTESTS_ALLOCATIONS_H

/// The number of calls of operator new so far, by all threads, the library's included.
long AllocationCount();

#endif
