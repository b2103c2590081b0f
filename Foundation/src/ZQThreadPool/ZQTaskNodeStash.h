#ifndef ZQTASKNODESTASH_H
#define ZQTASKNODESTASH_H

#include "ZQRefThreadPoolCache.h"
#include "ZQTaskNodeOverflow.h"

/// The nodes that one task pool has at hand while its tasks run, so that a task costs the lock of its own pool alone. What is
/// needed beyond them comes from the shared pool's cache, and what is too many goes there, some at a time; everything goes
/// there when the task pool comes to rest. Nodes that the shared cache could not keep, because the queue alone has taken as
/// many as fit there, come in blocks of the task pool's own.
///
/// The nodes serve in turn, here as in the cache, so that a queue goes over its memory in order.
///
/// Threads: under the lock of the task pool; takes the lock of the shared pool's cache.
class ZQTaskNodeStash
{
public:
    typedef ZQRefThreadPool::TPLTaskNode Node;

    ZQTaskNodeStash() : m_apKept(), m_nOldest(0), m_nKept(0), m_nRefill(1), m_nShared(0)
    {
    }

    /// A node, linked to itself; null without memory.
    Node* Take(ZQRefThreadPool& pool)
    {
        if (m_nKept == 0)
        {
            Node* const pNode = m_nShared >= ZQTPLCacheBound ? m_overflow.Take() : nullptr;
            if (pNode != nullptr)
            {
                return pNode;
            }
            Refill(pool);  // there may be memory for a node where there is none for a block
        }
        return m_nKept != 0 ? TakeOldest() : nullptr;
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
        if (m_nKept != 0)
        {
            GiveBack(pool, m_nKept);
        }
        m_overflow.FreeIfUnused();
        m_nRefill = 1;
    }

private:
    static constexpr unsigned int MostKept = 64;  // a power of 2
    static constexpr unsigned int MostAtOnce = 32;

    void Keep(Node* pNode)
    {
        m_apKept[(m_nOldest + m_nKept++) % MostKept] = pNode;
    }

    /// In turn, and not the one used last: that is still in the cache of the processor that has run its task.
    Node* TakeOldest()
    {
        Node* const pNode = m_apKept[m_nOldest++ % MostKept];
        --m_nKept;
        __builtin_prefetch(m_apKept[m_nOldest % MostKept], 1);
        return pNode;
    }

    /// One node for whoever queues a single task, twice as many each time for whoever goes on. Where there are none, one comes
    /// from the heap.
    void Refill(ZQRefThreadPool& pool)
    {
        {
            ZQAutoMutex lock(pool.m_mutexTPL);
            while (Node* pNode = m_nKept < m_nRefill ? ZQTakeLastNode(pool.m_listTPLCache) : nullptr)
            {
                Keep(pNode);
            }
        }
        m_nRefill = m_nRefill < MostAtOnce ? m_nRefill * 2 : MostAtOnce;
        Node* const pNew = m_nKept == 0 ? ZQRefThreadPool::NewTPLTaskNode(nullptr) : nullptr;
        if (pNew != nullptr)
        {
            Keep(pNew);
        }
        m_nShared += m_nKept;
    }

    void GiveBack(ZQRefThreadPool& pool, unsigned int nNodes)
    {
        m_nShared -= nNodes;
        ZQAutoMutex lock(pool.m_mutexTPL);
        for (; nNodes > 0; --nNodes)
        {
            ZQCacheTPLTaskNode(pool, TakeOldest());
        }
    }

    Node* m_apKept[MostKept];  // a ring, each linked to itself
    unsigned int m_nOldest;
    unsigned int m_nKept;
    unsigned int m_nRefill;  // how many the next refill takes
    long m_nShared;          // how many are kept here or used by the queue, those of m_overflow left out
    ZQTaskNodeOverflow m_overflow;
};

#endif
