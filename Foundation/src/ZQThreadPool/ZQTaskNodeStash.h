#ifndef ZQTASKNODESTASH_H
#define ZQTASKNODESTASH_H

#include "ZQRefThreadPoolCache.h"

/// The nodes that one task pool has at hand while its tasks run, so that a task costs the lock of its own pool alone and
/// meets a node that is still in the processor's cache. What is needed beyond them comes from the shared pool's cache, and
/// what is too many goes there, some at a time; everything goes there when the task pool comes to rest.
///
/// Threads: under the lock of the task pool; takes the lock of the shared pool's cache.
class ZQTaskNodeStash
{
public:
    typedef ZQRefThreadPool::TPLTaskNode Node;

    ZQTaskNodeStash() : m_pFirst(nullptr), m_nKept(0), m_nRefill(1)
    {
    }

    /// A node, linked to itself; null if there is none at hand.
    Node* TryTake()
    {
        Node* pNode = m_pFirst;
        if (pNode != nullptr)
        {
            m_pFirst = pNode->pNext;
            pNode->pNext = pNode;
            --m_nKept;
            __builtin_prefetch(m_pFirst, 1);
        }
        return pNode;
    }

    /// A node from the stash, the shared cache or the heap; null without memory.
    Node* Take(ZQRefThreadPool& pool)
    {
        if (m_pFirst == nullptr)
        {
            Refill(pool);
        }
        Node* pNode = TryTake();
        return pNode != nullptr ? pNode : ZQRefThreadPool::NewTPLTaskNode(nullptr);
    }

    /// Keeps a node that is in no list.
    void Put(Node* pNode, ZQRefThreadPool& pool)
    {
        if (m_nKept == MostKept)
        {
            GiveBack(pool, MostAtOnce);
        }
        Keep(pNode);
    }

    /// Gives every node to the shared cache.
    void GiveBackAll(ZQRefThreadPool& pool)
    {
        if (m_pFirst != nullptr)
        {
            GiveBack(pool, m_nKept);
        }
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

    /// One node for whoever queues a single task, twice as many each time for whoever goes on. They are taken where they are
    /// put, the last ones first, since their memory is at hand.
    void Refill(ZQRefThreadPool& pool)
    {
        ZQAutoMutex lock(pool.m_mutexTPL);
        while (Node* pNode = m_nKept < m_nRefill ? pool.m_listTPLCache.front_node() : nullptr)
        {
            pool.m_listTPLCache.unlink(pNode);
            Keep(pNode);
        }
        m_nRefill = m_nRefill < MostAtOnce ? m_nRefill * 2 : MostAtOnce;
    }

    void GiveBack(ZQRefThreadPool& pool, int nNodes)
    {
        ZQAutoMutex lock(pool.m_mutexTPL);
        for (; nNodes > 0; --nNodes)
        {
            ZQCacheTPLTaskNode(pool, TryTake());
        }
    }

    Node* m_pFirst;  // linked by pNext, the node used last first
    int m_nKept;
    int m_nRefill;  // how many the next refill takes
};

#endif
