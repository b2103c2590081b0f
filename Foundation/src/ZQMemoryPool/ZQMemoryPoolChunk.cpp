#include "ZQMemoryPoolChunk.h"

#include "ZQCheck.h"

#include <cassert>
#include <cstdint>
#include <new>

ZQMemoryPool::_StruChunk* ZQMemoryPool::_StruChunk::At(char* address)
{
    return std::launder(reinterpret_cast<_StruChunk*>(address));
}

void* ZQMemoryPool::_StruChunk::FirstSlice()
{
    static_assert(sizeof(_StruChunk) == 32, "the header is a multiple of the alignment");
    char* end = reinterpret_cast<char*>(this) + sizeof(_StruChunk);
    return end + (0 - reinterpret_cast<std::uintptr_t>(end)) % ZQMemoryPoolSliceHeader;
}

/// Whether the slice @p next begins where @p slice ends.
bool ZQMemoryPool::IsNext(const void* slice, const void* next) const
{
    return static_cast<const char*>(next) == static_cast<const char*>(slice) + m_nUnit;
}

/// Makes a chain of @p n slices from @p p on, which goes on with @p tail.
ZQMemoryPool::_StruSlice* ZQMemoryPool::Segregate(void* p, unsigned int n, _StruSlice* tail) const
{
    char* slice = static_cast<char*>(p) + static_cast<std::size_t>(n) * m_nUnit;
    _StruSlice* next = tail;
    while (slice != p)
    {
        slice -= m_nUnit;
        next = new (slice) _StruSlice{{next}, 1};
    }
    return next;
}

/// The free slice behind which @p p belongs, or null if that is the start. In a list out of order it is merely some slice;
/// to look further would cost more than the order is worth there.
ZQMemoryPool::_StruSlice* ZQMemoryPool::FindPrev(_StruSlice* head, const void* p)
{
    if (head == nullptr || p < head)
    {
        return nullptr;
    }
    _StruSlice* prev = head;
    while (prev->pNext != nullptr && prev->pNext <= p)
    {
        prev = prev->pNext;
    }
    return prev;
}

/// Where to look for the place of @p p from: at what was freed last, if the list is in order and that lies before @p p in
/// the same chunk, for much is freed in the order of its addresses; at the start of the list otherwise.
ZQMemoryPool::_StruSlice* ZQMemoryPool::StartFor(const void* p, _StruChunk* chunk) const
{
    if (chunk < m_pLastFreed && m_pLastFreed < p)
    {
        _StruSlice* const last = std::launder(static_cast<_StruSlice*>(m_pLastFreed));
        if (last->pChunk != chunk)  // else it is a block by now, in use or kept
        {
            return last;
        }
    }
    return chunk->pFree;
}

/// Frees @p n slices from @p p on.
void ZQMemoryPool::AddOrdered(void* p, unsigned int n, void* chunk)
{
    _StruChunk* const owner = static_cast<_StruChunk*>(chunk);
    const bool listed = owner->pFree != nullptr;
    _StruSlice* const prev = n == 1 && !m_bOrdered ? nullptr : FindPrev(StartFor(p, owner), p);
    _StruSlice*& link = prev != nullptr ? prev->pNext : owner->pFree;
    const unsigned int joined = (prev != nullptr && IsNext(prev, p) ? 1U : 0U) +
                                (IsNext(static_cast<char*>(p) + (n - 1) * std::size_t{m_nUnit}, link) ? 1U : 0U);
    owner->NoteRun(n, joined);
    link = Segregate(p, n, link);
    m_pLastFreed = m_bOrdered ? static_cast<char*>(p) + (n - 1) * std::size_t{m_nUnit} : nullptr;
    if (!listed)
    {
        owner->pNext = m_pFreeChunks;
        m_pFreeChunks = owner;
    }
    const unsigned int frees = owner->nFrees + n;  // 16 bits would wrap in the largest chunk
    if (frees > owner->nPartition)
    {
        // Its texts are those of the documented report under every compiler, which assert() would not give.
        __assert_fail("pCHK->nFrees<=pCHK->nPartition", "Foundation/src/ZQMemoryPool", 334,
                      "void ZQMemoryPool::AddOrdered(void*, unsigned int, void*)");
    }
    owner->nFrees = static_cast<unsigned short>(frees);
    m_nFree += n;
}

/// Looks for @p n adjacent slices at the free slice that @p cursor links to.
/// @return the last one; or null, with @p cursor at the slice that is not adjacent, for no run can start before it
ZQMemoryPool::_StruSlice* ZQMemoryPool::TryMallocN(_StruSlice**& cursor, unsigned short n) const
{
    _StruSlice* last = *cursor;
    for (unsigned int found = 1; found < n; ++found)
    {
        if (!IsNext(last, last->pNext))
        {
            cursor = &last->pNext;
            return nullptr;
        }
        last = last->pNext;
    }
    return last;
}

/// Allocates the first run of @p n slices in @p chunk; null if there is none.
void* ZQMemoryPool::ChunckMallocSliceN(_StruChunk* chunk, unsigned short n)
{
    _StruSlice** cursor = &chunk->pFree;
    _StruSlice* last = nullptr;
    while (last == nullptr)
    {
        if (*cursor == nullptr)
        {
            chunk->nMissing = n;
            return nullptr;
        }
        last = TryMallocN(cursor, n);
    }
    MemoryPoolCheck.CrashUnless(m_nFree >= n, "m_nFree>=n", 354);
    _StruSlice* const first = *cursor;
    if (first <= m_pLastFreed && m_pLastFreed <= last)
    {
        m_pLastFreed = nullptr;
    }
    if (IsNext(cursor, last->pNext))
    {
        chunk->NoteRun(0, 2);  // only a list out of order has neighbours of the run that join when it is gone
    }
    *cursor = last->pNext;
    chunk->nFrees = static_cast<unsigned short>(chunk->nFrees - n);
    m_nFree -= n;
    first->pChunk = chunk;
    first->nSlices = n;
    return first->Memory();
}
