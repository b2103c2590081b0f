#ifndef ZQMEMORYPOOLCHUNK_H
#define ZQMEMORYPOOLCHUNK_H

#include "ZQMemoryPool.h"

#include <algorithm>
#include <cstddef>
#include <new>

/// The bytes at the start of a slice that are the pool's, and the alignment of blocks.
constexpr std::size_t ZQMemoryPoolSliceHeader = 16;
/// A chunk's header and the room to align its slices; `malloc` may align to 8 only.
constexpr std::size_t ZQMemoryPoolChunkExtra = 48;

/// The start of a slice that is free, and of a block in use, before the caller's bytes.
struct ZQMemoryPool::_StruSlice
{
    union
    {
        _StruSlice* pNext;   ///< While it is in the chunk's list: the next free slice, or null.
        _StruChunk* pChunk;  ///< In use, or kept by the pool: where the block comes from.
    };
    unsigned short nSlices;  ///< How many slices the block takes; 1 in the list, 0 while the pool keeps it.

    /// The start of the block that a caller holds.
    static _StruSlice* Of(void* memory);
    /// What the caller gets.
    void* Memory();
};

/// The start of a chunk, which its slices follow.
struct ZQMemoryPool::_StruChunk
{
    _StruChunk* pNext;  ///< The next one in m_pFreeChunks; null at the end and while not listed.
    ZQMemoryPool* pPool;
    _StruSlice* pFree;          ///< The list of free slices, without those that the pool keeps.
    unsigned short nPartition;  ///< Slices.
    unsigned short nFrees;      ///< Free slices in the list.
    unsigned int nMissing;      ///< There is no run of so many slices or of more; 0 if nothing is known.

    /// The chunk at an address that m_lstChunks keeps.
    static _StruChunk* At(char* address);
    /// Where the slices start: at the first multiple of 16 behind the header.
    void* FirstSlice();
    /// Whether a search for @p n adjacent slices may find some.
    bool MayHave(unsigned short n) const;
    /// Notes that @p n more slices, or none, have become one run with @p joined of those that there are.
    void NoteRun(unsigned int n, unsigned int joined);
    /// Takes the chunk that @p link names out of its list of chunks.
    static void Unlist(_StruChunk** link);
};

// Allocating and freeing a single slice are a few instructions, so what they are made of is inline.
//
// Headers are made by placement new when slices enter a chunk's list, so that memory which the caller wrote in between is never
// read as one. A single slice that is taken from the list, or kept, goes on with the header that it has.

inline ZQMemoryPool::_StruSlice* ZQMemoryPool::_StruSlice::Of(void* memory)
{
    static_assert(sizeof(_StruSlice) == ZQMemoryPoolSliceHeader, "a block's header fills what is reserved for it");
    return std::launder(reinterpret_cast<_StruSlice*>(static_cast<char*>(memory) - ZQMemoryPoolSliceHeader));
}

inline void* ZQMemoryPool::_StruSlice::Memory()
{
    return reinterpret_cast<char*>(this) + ZQMemoryPoolSliceHeader;
}

inline bool ZQMemoryPool::_StruChunk::MayHave(unsigned short n) const
{
    return nMissing - 1 >= n && nFrees >= n;  // 0 wraps, and rules nothing out
}

inline void ZQMemoryPool::_StruChunk::NoteRun(unsigned int n, unsigned int joined)
{
    if (nMissing != 0)
    {
        nMissing = std::max(nMissing, n + joined * (nMissing - 1) + 1);
        nMissing = nMissing <= nPartition ? nMissing : 0;
    }
}

inline void ZQMemoryPool::_StruChunk::Unlist(_StruChunk** link)
{
    _StruChunk* chunk = *link;
    *link = chunk->pNext;
    chunk->pNext = nullptr;
}

#endif
