#ifndef ZQRELAXED_H
#define ZQRELAXED_H

/// @file
/// Reads and writes of plain fields that some thread reads without the lock that guards them. Both sides go through these
/// functions, since a plain write under the lock still races with an atomic read outside it.
///
/// Relaxed where only the value counts and a stale one does no harm. Release and acquire where the reader goes on to use
/// what the writer prepared before it: the writer's earlier stores are then visible to the reader.

template <class T> T ZQRelaxedLoad(const T& field)
{
    return __atomic_load_n(&field, __ATOMIC_RELAXED);
}

template <class T> void ZQRelaxedStore(T& field, T value)
{
    __atomic_store_n(&field, value, __ATOMIC_RELAXED);
}

template <class T> T ZQAcquireLoad(const T& field)
{
    return __atomic_load_n(&field, __ATOMIC_ACQUIRE);
}

template <class T> void ZQReleaseStore(T& field, T value)
{
    __atomic_store_n(&field, value, __ATOMIC_RELEASE);
}

#endif
