#ifndef ZQTASKNODEOVERFLOW_H
#define ZQTASKNODEOVERFLOW_H

#include "ZQThreadPool.h"

#include <cstddef>

/// The nodes for that part of a very long queue which the shared cache would not keep. They come in blocks, each twice as large
/// as the one before, so that such a queue costs a handful of allocations and is gone over in the order of its memory.
///
/// Threads: one at a time.
class ZQTaskNodeOverflow
{
public:
    typedef ZQRefThreadPool::TPLTaskNode Node;

    ZQTaskNodeOverflow() : m_aBlocks(), m_nBlocks(0), m_nFresh(0), m_pFree(nullptr), m_nInUse(0)
    {
    }
    ~ZQTaskNodeOverflow()
    {
        FreeBlocks(0);
    }
    ZQTaskNodeOverflow(const ZQTaskNodeOverflow&) = delete;
    ZQTaskNodeOverflow& operator=(const ZQTaskNodeOverflow&) = delete;

    /// A node, linked to itself; null without memory.
    Node* Take();
    /// Whether @p node comes from here.
    bool Owns(const Node* node) const
    {
        return m_nBlocks != 0 && IsInBlocks(node);
    }
    /// Takes back a node that is in no list. With the last one that is out, all blocks but the first are freed.
    void Put(Node* node);
    /// Frees all blocks if no node is out.
    void FreeIfUnused();

private:
    static constexpr std::size_t FirstBlock = 16384;
    static constexpr int MostBlocks = 24;  // more nodes than there is memory for

    static std::size_t SizeOf(int nBlock)
    {
        return FirstBlock << nBlock;
    }
    bool IsInBlocks(const Node* node) const;
    bool AddBlock();
    void FreeBlocks(int nKept);

    Node* m_aBlocks[MostBlocks];
    int m_nBlocks;
    std::size_t m_nFresh;  // how many of the last block have served
    Node* m_pFree;         // those that are back, linked by pNext
    long m_nInUse;
};

#endif
