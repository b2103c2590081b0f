#include "ZQMemoryPool.h"

#include "ZQCheck.h"
#include "ZQMemoryPoolChunk.h"
#include "ZQProbe.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <new>

namespace
{
constexpr unsigned int DefaultNextCount = 32;
constexpr unsigned int MaxChunkSlices = USHRT_MAX;  // a chunk counts its slices in 16 bits

/// Bytes from one slice to the next; 0 if 32 bits do not hold them.
unsigned int UnitOf(std::size_t sliceSize)
{
    constexpr std::size_t Alignment = ZQMemoryPoolSliceHeader;
    const std::size_t unit = (sliceSize + Alignment - 1) / Alignment * Alignment + ZQMemoryPoolSliceHeader;
    return unit <= UINT_MAX ? static_cast<unsigned int>(unit) : 0;
}
}  // namespace

ZQMemoryPool::ZQMemoryPool(unsigned int sliceSize, unsigned int nextCount, unsigned int maxCount, bool ordered)
    : m_nUnit(UnitOf(sliceSize)), m_nSliceSize(sliceSize), m_nNextCount(nextCount != 0 ? nextCount : DefaultNextCount),
      m_nMaxCount(maxCount != 0 ? std::max(maxCount, nextCount) : 0), m_bOrdered(ordered), m_nTotal(0), m_nFree(0),
      m_pFreeChunks(nullptr), m_pLastFreed(nullptr), m_pKeptChunk(nullptr), m_nMostKept(0), m_nKept(0)
{
}

ZQMemoryPool::~ZQMemoryPool()
{
    for (auto it = m_lstChunks.begin(); it != m_lstChunks.end(); ++it)
    {
        ZQProbe::ChunkReleased(this, *it);
        std::free(*it);
    }
}

void* ZQMemoryPool::Malloc(unsigned short n)
{
    if (__builtin_expect(n != 1, 0))
    {
        return MallocRun(n);
    }
    if (__builtin_expect(m_nKept != 0, 1))
    {
        void* const kept = m_aKept[--m_nKept];
        _StruSlice::Of(kept)->nSlices = 1;
        return kept;
    }
    // A single slice is the first one of the first chunk, without a search. A chunk is listed only while it has one. Blocks of
    // this pool that another one took back are missing from the count, which must not go below zero for that.
    _StruChunk* const chunk = m_pFreeChunks;
    if (__builtin_expect(chunk == nullptr || m_nFree == 0, 0))
    {
        return MallocRun(1);
    }
    _StruSlice* const slice = chunk->pFree;
    chunk->pFree = slice->pNext;
    --m_nFree;
    if (--chunk->nFrees == 0)
    {
        _StruChunk::Unlist(&m_pFreeChunks);
    }
    slice->pChunk = chunk;
    return slice->Memory();
}

/// What Malloc() does, for any @p n.
void* ZQMemoryPool::MallocRun(unsigned short n)
{
    PutBack();
    if (n == 0 || m_nUnit == 0)
    {
        return nullptr;
    }
    if (m_nFree >= n)
    {
        if (void* const memory = MallocN(n))
        {
            return memory;
        }
    }
    if (m_nMaxCount != 0 && m_nTotal >= m_nMaxCount)
    {
        return nullptr;
    }
    const unsigned int count = std::max<unsigned int>(n, std::min(m_nNextCount, MaxChunkSlices));
    return CallocNext(count) != nullptr ? TakeFrom(&m_pFreeChunks, n) : nullptr;  // a new chunk is the first one
}

void* ZQMemoryPool::MallocEx(unsigned int bytes)
{
    if (bytes <= m_nSliceSize)
    {
        return Malloc(1);
    }
    if (m_nSliceSize == 0)
    {
        return nullptr;
    }
    const unsigned int slices = (bytes - 1) / m_nSliceSize + 1;
    return slices <= MaxChunkSlices ? Malloc(static_cast<unsigned short>(slices)) : nullptr;
}

/// Allocates @p n adjacent slices of the chunks that there are; null if none serves.
void* ZQMemoryPool::MallocN(unsigned short n)
{
    for (_StruChunk** link = &m_pFreeChunks; *link != nullptr; link = &(*link)->pNext)
    {
        void* const memory = (*link)->MayHave(n) ? TakeFrom(link, n) : nullptr;
        if (memory != nullptr)
        {
            return memory;
        }
    }
    return nullptr;
}

/// Allocates @p n adjacent slices of the chunk that @p link names, and takes the chunk off the list when it is full.
void* ZQMemoryPool::TakeFrom(_StruChunk** link, unsigned short n)
{
    _StruChunk* const chunk = *link;
    void* const memory = ChunckMallocSliceN(chunk, n);
    if (chunk->nFrees == 0)
    {
        _StruChunk::Unlist(link);
    }
    return memory;
}

/// Adds a chunk of free slices; null without memory.
ZQMemoryPool::_StruChunk* ZQMemoryPool::CallocNext(unsigned int count)
{
    if (count > UINT_MAX - m_nTotal)
    {
        return nullptr;  // what the pool cannot count, it does not have
    }
    void* const block = std::malloc(static_cast<std::size_t>(count) * m_nUnit + ZQMemoryPoolChunkExtra);
    ZxxListInner<char*>::node_type* const entry = block != nullptr ? m_lstChunks.calloc_node(nullptr) : nullptr;
    if (entry == nullptr)
    {
        std::free(block);
        return nullptr;
    }
    entry->data = static_cast<char*>(block);
    m_lstChunks.link_back(entry);
    _StruChunk* const chunk = new (block) _StruChunk{nullptr, this, nullptr, static_cast<unsigned short>(count), 0, 0};
    AddOrdered(chunk->FirstSlice(), count, chunk);
    m_nTotal += count;
    ZQProbe::ChunkAdded(this, chunk, count);
    return chunk;
}

void ZQMemoryPool::Free(void* p)
{
    if (__builtin_expect(p == nullptr, 0))
    {
        return;
    }
    // What is expected is laid out so that it jumps least: a call costs more than its instructions here.
    _StruSlice* const slice = _StruSlice::Of(p);
    const unsigned int kept = m_nKept;
    if (kept == 0)
    {
        if (__builtin_expect(KeepFirst(slice), 1))
        {
            return;
        }
    }
    else if (__builtin_expect(slice->pChunk == m_pKeptChunk && kept < m_nMostKept && slice->nSlices == 1 &&
                                  (!m_bOrdered || p < m_aKept[kept - 1]),
                              1))
    {
        Keep(slice, kept);
        return;
    }
    FreeOther(slice);
}

/// Keeps a block on top of the @p kept ones, marked for a second free of it to show.
inline void ZQMemoryPool::Keep(_StruSlice* slice, unsigned int kept)
{
    slice->nSlices = 0;
    m_aKept[kept] = slice->Memory();
    m_nKept = kept + 1;
}

/// Keeps a block where none is kept, if it is the one that the next single allocation will get. What is wrong with it is left to
/// AddOrdered(), which reports it in the very call.
inline bool ZQMemoryPool::KeepFirst(_StruSlice* slice)
{
    _StruChunk* const chunk = slice->pChunk;
    const _StruSlice* const next = chunk->pFree;
    const bool isNext =
        __builtin_expect(next == nullptr, 1) || (chunk == m_pFreeChunks && (!m_bOrdered || slice < next));
    if (__builtin_expect(!isNext || chunk->nFrees >= chunk->nPartition || slice->nSlices != 1 || chunk->pPool != this,
                         0))
    {
        return false;
    }
    Keep(slice, 0);
    m_nMostKept = 0;  // KeepNext() has to look at what comes on top of it
    return true;
}

/// Keeps a block on top of others, if it is the one that the next single allocation will get, and the ones after that will get the
/// others in turn.
bool ZQMemoryPool::KeepNext(_StruSlice* slice)
{
    _StruChunk* const chunk = slice->pChunk;
    const _StruSlice* const top = _StruSlice::Of(m_aKept[m_nKept - 1]);
    const _StruSlice* const bottom = _StruSlice::Of(m_aKept[0]);
    // The free of a block makes a full chunk the first one. That its list is empty says that it is full only if none of its blocks
    // are kept, which is certain while all that are kept are of the top one's chunk.
    const bool isNext =
        chunk == top->pChunk ? !m_bOrdered || slice < top : chunk->pFree == nullptr && top->pChunk == bottom->pChunk;
    // Blocks of the other chunk count here too: that may be too few, never too many.
    const int most = std::min<int>(chunk->nPartition - chunk->nFrees, MaxKept);
    if (!isNext || static_cast<int>(m_nKept) >= most || slice->nSlices != 1 || chunk->pPool != this)
    {
        return false;
    }
    Keep(slice, m_nKept);
    m_nMostKept = static_cast<unsigned int>(most);
    m_pKeptChunk = chunk;
    return true;
}

/// What Free() does where there is more to do. Inside Free() it would cost every call the saving of registers.
__attribute__((noinline)) void ZQMemoryPool::FreeOther(_StruSlice* slice)
{
    if (m_nKept != 0)
    {
        if (KeepNext(slice))
        {
            return;
        }
        PutBack();
        if (KeepFirst(slice))
        {
            return;
        }
    }
    AddOrdered(slice, slice->nSlices, slice->pChunk);
}

/// Puts the kept blocks into their chunks' lists, in the order in which they were freed.
void ZQMemoryPool::PutBack()
{
    for (unsigned int i = 0; i < m_nKept; ++i)
    {
        _StruSlice* const slice = _StruSlice::Of(m_aKept[i]);
        AddOrdered(slice, 1, slice->pChunk);
    }
    m_nKept = 0;
}

void ZQMemoryPool::FreeAny(void* p)
{
    if (p != nullptr)
    {
        _StruSlice::Of(p)->pChunk->pPool->Free(p);
    }
}

void ZQMemoryPool::ShrinkMemory(unsigned int keep)
{
    PutBack();
    // The slices that are free beside blocks in use stay in any case, so they count first, in whatever chunk they are.
    for (auto it = m_lstChunks.begin(); it != m_lstChunks.end(); ++it)
    {
        const _StruChunk* const chunk = _StruChunk::At(*it);
        if (chunk->nFrees != chunk->nPartition)
        {
            keep -= std::min<unsigned int>(keep, chunk->nFrees);
        }
    }
    for (auto it = m_lstChunks.begin(); it != m_lstChunks.end();)
    {
        _StruChunk* const chunk = _StruChunk::At(*it);
        if (chunk->nFrees != chunk->nPartition)
        {
            ++it;
        }
        else if (keep > 0)
        {
            keep -= std::min<unsigned int>(keep, chunk->nFrees);
            ++it;
        }
        else
        {
            it = m_lstChunks.erase(it);
            FreeChunk(chunk);
        }
    }
}

/// Gives a chunk without blocks back to the system.
void ZQMemoryPool::FreeChunk(_StruChunk* chunk)
{
    m_nFree -= chunk->nFrees;
    m_nTotal -= chunk->nPartition;
    m_pLastFreed = nullptr;  // it may lie there
    _StruChunk** link = &m_pFreeChunks;
    while (*link != nullptr && *link != chunk)
    {
        link = &(*link)->pNext;
    }
    MemoryPoolCheck.CrashUnless(*link != nullptr, "prev", 132);
    _StruChunk::Unlist(link);
    ZQProbe::ChunkReleased(this, chunk);
    std::free(chunk);
}

unsigned int ZQMemoryPool::GetSliceSize() const
{
    return m_nSliceSize;
}

unsigned int ZQMemoryPool::GetNextCount() const
{
    return m_nNextCount;
}

unsigned int ZQMemoryPool::GetMaxCount() const
{
    return m_nMaxCount;
}

unsigned int ZQMemoryPool::GetFreeCount() const
{
    return m_nFree + m_nKept;
}

unsigned int ZQMemoryPool::GetTotalCount() const
{
    return m_nTotal;
}

void ZQMemoryPool::SetMaxCount(unsigned int n)
{
    if (n > m_nNextCount)
    {
        m_nMaxCount = n;
    }
}
