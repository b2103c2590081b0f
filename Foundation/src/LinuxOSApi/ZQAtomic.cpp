#include "ZQOSApi.h"

namespace
{
// GCC's __sync built-ins are full barriers, but for those that it makes one instruction of on newer arm64 processors. The
// __atomic ones are not, even sequentially consistent, and neither are Clang's __sync ones: on arm64 a later access may move
// up between the load and the store of such an operation.
template <typename Value> inline Value Fenced(Value value)
{
#if defined(__aarch64__) && (defined(__clang__) || defined(__ARM_FEATURE_ATOMICS))
    __sync_synchronize();
#endif
    return value;
}
}  // namespace

void ZQAtomicSet(volatile long* cell, long value)
{
    (void)__atomic_exchange_n(cell, value, __ATOMIC_SEQ_CST);  // __sync has no exchange that is a barrier
    __sync_synchronize();
}

long ZQAtomicGet(const volatile long* cell)
{
    return __atomic_load_n(cell, __ATOMIC_RELAXED);
}

long ZQAtomicInc(volatile long* cell)
{
    return Fenced(__sync_add_and_fetch(cell, 1));
}

long ZQAtomicDec(volatile long* cell)
{
    return Fenced(__sync_sub_and_fetch(cell, 1));
}

long ZQAtomicAnd(volatile long* cell, long mask)
{
    return Fenced(__sync_fetch_and_and(cell, mask));
}

long ZQAtomicOr(volatile long* cell, long mask)
{
    return Fenced(__sync_fetch_and_or(cell, mask));
}

bool ZQAtomicCompareExchange(volatile long* cell, long expected, long desired)
{
    return Fenced(__sync_bool_compare_and_swap(cell, expected, desired));
}

void ZQAtomicPointerSet(void* volatile* cell, void* value)
{
    (void)__atomic_exchange_n(cell, value, __ATOMIC_SEQ_CST);
    __sync_synchronize();
}

bool ZQAtomicCompareExchangePointer(void* volatile* cell, void* expected, void* desired)
{
    return Fenced(__sync_bool_compare_and_swap(cell, expected, desired));
}
