#ifndef ZQTASKNODESTASH_H
#define ZQTASKNODESTASH_H

#include "ZQRefThreadPoolCache.h"
#include "ZQTaskNodeOverflow.h"

/// The nodes that one task pool has at hand while its tasks run, so that a task costs the lock of its own pool alone and
/// meets a node that is still in the processor's cache. What is needed beyond them comes from the shared pool's cache, and
/// what is too many goes there, some at a time; everything goes there when the task pool comes to rest. Nodes that the shared
/// cache could not keep, because the queue alone has taken as many as fit there, come in blocks of the task pool's own.
///
/// Threads: under the lock of the task pool; takes the lock of the shared pool's cache.
class ZQTaskNodeStash
{
public:
    typedef ZQRefThreadPool::TPLTaskNode Node;

    ZQTaskNodeStash() : m_pFirst(nullptr), m_nKept(0), m_nRefill(1), m_nShared(0)
    {
    }

    /// A node, linked to itself; null without memory.
    Node* Take(ZQRefThreadPool& pool)
    {
        if (m_pFirst == nullptr)
        {
            if (m_nShared >= ZQTPLCacheBound)
            {
                return m_overflow.Take();
            }
            Refill(pool);
        }
        return m_pFirst != nullptr ? TakeFirst() : nullptr;
    }

    /// Keeps a node that is in no list.
    void Put(Node* pNode, ZQRefThreadPool& pool)
    {
        if (m_overflow.Owns(pNode))
        {
            m_overflow.Put(pNode);
            return;
        }
        if (m_nKept == MostKept)
        {
            GiveBack(pool, MostAtOnce);
        }
        Keep(pNode);
    }

    /// Gives every node to the shared cache, and the memory of those that do not belong there to the system.
    void GiveBackAll(ZQRefThreadPool& pool)
    {
        if (m_pFirst != nullptr)
        {
            GiveBack(pool, m_nKept);
        }
        m_overflow.FreeIfUnused();
        m_nRefill = 1;
    }

private:
    static constexpr int MostKept = 64;
    static constexpr int MostAtOnce = 32;

    void Keep(Node* pNode)
    {
        pNode->pNext = m_pFirst;
        m_pFirst = pNode;
        ++m_nKept;
    }

    Node* TakeFirst()
    {
        Node* pNode = m_pFirst;
        m_pFirst = pNode->pNext;
        --m_nKept;
        __builtin_prefetch(m_pFirst, 1);
        pNode->pNext = pNode;
        return pNode;
    }

    /// One node for whoever queues a single task, twice as many each time for whoever goes on. They are taken where they are
    /// put, the last ones first, since their memory is at hand. Where there are none, one comes from the heap.
    void Refill(ZQRefThreadPool& pool)
    {
        {
            ZQAutoMutex lock(pool.m_mutexTPL);
            while (Node* pNode = m_nKept < m_nRefill ? pool.m_listTPLCache.front_node() : nullptr)
            {
                pool.m_listTPLCache.unlink(pNode);
                Keep(pNode);
            }
        }
        m_nRefill = m_nRefill < MostAtOnce ? m_nRefill * 2 : MostAtOnce;
        Node* const pNew = m_pFirst == nullptr ? ZQRefThreadPool::NewTPLTaskNode(nullptr) : nullptr;
        if (pNew != nullptr)
        {
            Keep(pNew);
        }
        m_nShared += m_nKept;
    }

    void GiveBack(ZQRefThreadPool& pool, int nNodes)
    {
        m_nShared -= nNodes;
        ZQAutoMutex lock(pool.m_mutexTPL);
        for (; nNodes > 0; --nNodes)
        {
            ZQCacheTPLTaskNode(pool, TakeFirst());
        }
    }

    Node* m_pFirst;  // linked by pNext, the node used last first
    int m_nKept;
    int m_nRefill;   // how many the next refill takes
    long m_nShared;  // how many are kept here or used by the queue, those of m_overflow left out
    ZQTaskNodeOverflow m_overflow;
};

#endif
