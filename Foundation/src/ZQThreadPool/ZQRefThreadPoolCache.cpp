#include "ZQRefThreadPoolCache.h"

// The two caches of list nodes. They differ in their bounds and in what happens beyond them: a task node is dropped, a
// task pool's node is freed. Programs have come to count on the figures.

namespace
{
constexpr long TaskCacheBound = 100000;
}  // namespace

ZQRefThreadPool::TaskNode* ZQRefThreadPool::NewTaskNode(void* context)
{
    return ZxxListInner<_StruRefTask>::calloc_node(context);
}

void ZQRefThreadPool::DelTaskNode(TaskNode* node, void* context)
{
    ZxxListInner<_StruRefTask>::free_node(node, context);
}

__attribute__((hot)) ZQRefThreadPool::TaskNode* ZQRefThreadPool::CallocTaskNodeFromCache(void* cache)
{
    TaskNode* pNode = ZQTakeLastNode(*static_cast<ZxxListInner<_StruRefTask>*>(cache));
    return pNode != nullptr ? pNode : NewTaskNode(nullptr);
}

__attribute__((hot)) void ZQRefThreadPool::FreeTaskNodeToCache(TaskNode* node, void* cache)
{
    auto& list = *static_cast<ZxxListInner<_StruRefTask>*>(cache);
    if (list.size() < TaskCacheBound)
    {
        list.link_front(node);
    }
}

ZQRefThreadPool::TPLTaskNode* ZQRefThreadPool::NewTPLTaskNode(void* context)
{
    return ZxxListInner<void*>::calloc_node(context);
}

void ZQRefThreadPool::DelTPLTaskNode(TPLTaskNode* node, void* context)
{
    ZxxListInner<void*>::free_node(node, context);
}

ZQRefThreadPool::TPLTaskNode* ZQRefThreadPool::GetTPLTaskNode()
{
    AfterFork();
    ZQAutoMutex lock(m_mutexTPL);
    TPLTaskNode* pNode = ZQTakeLastNode(m_listTPLCache);
    return pNode != nullptr ? pNode : NewTPLTaskNode(nullptr);
}

void ZQRefThreadPool::FreeTPLTaskNode(TPLTaskNode* node)
{
    AfterFork();
    ZQAutoMutex lock(m_mutexTPL);
    ZQCacheTPLTaskNode(*this, node);
}
