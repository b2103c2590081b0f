#ifndef ZQMEMORYPOOL_H
#define ZQMEMORYPOOL_H

/// @file
/// Memory for many blocks of one size, or of a few times that size.
///
/// A pool cuts slices of one size out of large chunks, so that a block costs a few instructions and 16 bytes beside its own,
/// and memory goes back to the system a chunk at a time. Use it for many small objects that come and go; use `malloc(3)`
/// for sizes that vary widely.
///
/// Threads: nothing here locks, for a pool belongs to one thread at a time. Who shares one keeps all its calls apart, those
/// of ZQMemoryPool::FreeAny() on its blocks included.
///
/// @code
/// ZQMemoryPool pool(sizeof(Node), 256, 0, false);  // 256 nodes a chunk, no limit, single slices only
/// void* memory = pool.Malloc(1);
/// if (memory != nullptr)
/// {
///     Node* node = new (memory) Node;
///     node->~Node();
///     pool.Free(node);
/// }
/// pool.ShrinkMemory(256);  // after a peak: keep that many slices for the next one
/// @endcode

#include "ZQDefine.h"
#include "ZxxList.h"

/// Blocks of one slice or of several adjacent ones, out of chunks that are added on demand.
///
/// A slice takes its size, rounded up to a multiple of 16, and 16 bytes for the pool; a block of n slices offers all of them
/// but the first 16 bytes, and is aligned to 16. It is the first run of free slices that are adjacent *and* follow each
/// other in their chunk's list of free slices; the newest chunk is searched first, and a full one of which a slice is freed
/// counts as new.
///
/// | `ordered` | freeing one slice                 | adjacent free slices                                              |
/// |-----------|-----------------------------------|-------------------------------------------------------------------|
/// | `false`   | constant time                     | need not be found: the list gets out of order, and the pool grows |
/// | `true`    | goes over the chunk's free slices | are always found                                                  |
///
/// Up to 64 single blocks that were freed last are kept for the next single allocations, which get the same blocks as without
/// that, only faster: to replace blocks, or to give some back and take as many, costs least.
///
/// Freeing several slices goes over the chunk's free slices in either case. An ordered pool starts at what it took back last,
/// if that is still free and lies before them in the chunk, so a queue that frees in the order of allocation pays nothing
/// for the order. So take `true` where blocks of several slices are mixed with single ones, and chunks of a moderate size.
///
/// Lifetime: the destructor frees every chunk, and all blocks with it, whether they were given back or not.
/// @ingroup memorypool
class ZQ_API ZQMemoryPool
{
public:
    /// Makes a pool without chunks; nothing is allocated yet.
    /// @param sliceSize  bytes of a slice; above 4294967264 the pool never has a block
    /// @param nextCount  slices by which the pool grows; 0 means 32. A chunk has at most 65535, whatever is asked for.
    /// @param maxCount   a pool that has this many slices grows no more; 0 means no limit. Raised to @p nextCount if that
    ///                   is greater. The limit is soft: the last chunk may lead beyond it.
    /// @param ordered    whether freeing single slices keeps the chunk's free slices in order, see the class
    ZQMemoryPool(unsigned int sliceSize, unsigned int nextCount, unsigned int maxCount, bool ordered);
    /// Frees every chunk.
    ~ZQMemoryPool();
    ZQMemoryPool(const ZQMemoryPool&) = delete;
    ZQMemoryPool& operator=(const ZQMemoryPool&) = delete;

    /// Allocates adjacent slices; if no chunk has such a run, the pool grows by @p n slices or by its usual count,
    /// whichever is greater.
    /// @param n  slices, 1 to 65535; a greater number would be cut to its low 16 bits on its way here
    /// @return a block to be given back by Free(); null for 0 slices, without memory, or if the pool may not grow, though
    ///         it may have @p n free slices apart from each other
    void* Malloc(unsigned short n);
    /// Allocates as many adjacent slices as @p bytes need, at least one.
    /// @param bytes  up to 65535 times the slice size
    /// @return as for Malloc(); null for more than that
    void* MallocEx(unsigned int bytes);
    /// Takes a block back.
    /// @param p  a block of this pool, or null, which is ignored. A block of another pool spoils both: use FreeAny().
    ///           Giving a block back twice is undefined and, but by luck, not found out.
    void Free(void* p);
    /// Takes a block back into the pool it came from, which must be alive; null is ignored.
    static void FreeAny(void* p);
    /// Gives chunks without a block in use back to the system. Of those it keeps the oldest, as many as are needed beside the
    /// free slices of the other chunks, so @p keep is rounded up to whole chunks.
    /// @param keep  how many free slices to keep, if there are so many; 0 gives back every chunk that can be
    void ShrinkMemory(unsigned int keep);

    /// Bytes of a slice, as given to the constructor.
    unsigned int GetSliceSize() const;
    /// Slices by which the pool grows.
    unsigned int GetNextCount() const;
    /// The soft limit of slices; 0 means none.
    unsigned int GetMaxCount() const;
    /// Free slices in all chunks.
    unsigned int GetFreeCount() const;
    /// Slices in all chunks, free or not.
    unsigned int GetTotalCount() const;
    /// Changes the soft limit; what the pool has beyond it stays.
    /// @param n  slices, more than GetNextCount(); any other value is ignored, so a limit cannot be lifted: set 4294967295
    void SetMaxCount(unsigned int n);

private:
    struct _StruChunk;
    struct _StruSlice;

    _StruChunk* CallocNext(unsigned int count);
    void* MallocRun(unsigned short n);
    void* MallocN(unsigned short n);
    void* TakeFrom(_StruChunk** link, unsigned short n);
    void* ChunckMallocSliceN(_StruChunk* chunk, unsigned short n);
    _StruSlice* TryMallocN(_StruSlice**& cursor, unsigned short n) const;
    bool IsNext(const void* slice, const void* next) const;
    _StruSlice* Segregate(void* p, unsigned int n, _StruSlice* tail) const;
    static _StruSlice* FindPrev(_StruSlice* head, const void* p);
    _StruSlice* StartFor(const void* p, _StruChunk* chunk) const;
    void AddOrdered(void* p, unsigned int n, void* chunk);
    void Keep(_StruSlice* slice, unsigned int kept);
    bool KeepFirst(_StruSlice* slice);
    bool KeepNext(_StruSlice* slice);
    void FreeOther(_StruSlice* slice);
    void PutBack();
    void FreeChunk(_StruChunk* chunk);

    unsigned int m_nUnit;  // bytes from one slice to the next; 0 if they do not fit
    unsigned int m_nSliceSize;
    unsigned int m_nNextCount;
    unsigned int m_nMaxCount;
    bool m_bOrdered;
    unsigned int m_nTotal;
    ZxxListInner<char*> m_lstChunks;  // all chunks, the oldest first
    unsigned int m_nFree;
    _StruChunk* m_pFreeChunks;  // those with a free slice in their lists, the last to get one first
    void* m_pLastFreed;         // a slice in an ordered list, to look for the next one's place from if it is still free
    // Single blocks that were freed and are not in their chunks' lists yet, nor counted there. The next single allocations take
    // them, the last one first. A free that does not fit, and what takes several slices or gives chunks back, puts them into the
    // lists before.
    static constexpr unsigned int MaxKept = 64;
    _StruChunk* m_pKeptChunk;  // whose blocks are kept without a look at it, while there are fewer than m_nMostKept
    unsigned int m_nMostKept;
    unsigned int m_nKept;
    void* m_aKept[MaxKept];
};

#endif
