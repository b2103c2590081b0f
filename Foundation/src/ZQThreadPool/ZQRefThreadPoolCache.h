#ifndef ZQREFTHREADPOOLCACHE_H
#define ZQREFTHREADPOOLCACHE_H

#include "ZQThreadPool.h"

/// The most nodes that the cache of the task pools' nodes keeps. Programs have come to count on the figure.
constexpr long ZQTPLCacheBound = 200000;

/// The last node of a list of spare nodes; null if there is none.
template <class List> typename List::node_type* ZQTakeLastNode(List& cache)
{
    typename List::node_type* pNode = cache.back_node();
    if (pNode != nullptr)
    {
        cache.unlink(pNode);
    }
    return pNode;
}

/// ZQRefThreadPool::FreeTPLTaskNode() for a caller who holds the cache's lock.
inline void ZQCacheTPLTaskNode(ZQRefThreadPool& pool, ZQRefThreadPool::TPLTaskNode* node) ZQ_REQUIRES(pool.m_mutexTPL)
{
    if (pool.m_listTPLCache.size() >= ZQTPLCacheBound)
    {
        ZQRefThreadPool::DelTPLTaskNode(node, nullptr);
    }
    else
    {
        pool.m_listTPLCache.link_front(node);
    }
}

#endif
