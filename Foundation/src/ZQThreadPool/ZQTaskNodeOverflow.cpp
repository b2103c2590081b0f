#include "ZQTaskNodeOverflow.h"

#include <functional>
#include <new>

ZQTaskNodeOverflow::Node* ZQTaskNodeOverflow::Take()
{
    Node* pNode = m_pFree;
    if (pNode != nullptr)
    {
        m_pFree = pNode->pNext;
    }
    else
    {
        if ((m_nBlocks == 0 || m_nFresh == SizeOf(m_nBlocks - 1)) && !AddBlock())
        {
            return nullptr;
        }
        pNode = &m_aBlocks[m_nBlocks - 1][m_nFresh++];
    }
    pNode->pPrev = pNode;
    pNode->pNext = pNode;
    ++m_nInUse;
    return pNode;
}

bool ZQTaskNodeOverflow::IsInBlocks(const Node* node) const
{
    const std::less<const Node*> before;
    for (int i = m_nBlocks - 1; i >= 0; --i)  // most are in the last
    {
        if (!before(node, m_aBlocks[i]) && before(node, m_aBlocks[i] + SizeOf(i)))
        {
            return true;
        }
    }
    return false;
}

void ZQTaskNodeOverflow::Put(Node* node)
{
    node->pNext = m_pFree;
    m_pFree = node;
    if (--m_nInUse == 0)
    {
        FreeBlocks(1);
    }
}

void ZQTaskNodeOverflow::FreeIfUnused()
{
    if (m_nInUse == 0)
    {
        FreeBlocks(0);
    }
}

bool ZQTaskNodeOverflow::AddBlock()
{
    if (m_nBlocks == MostBlocks)
    {
        return false;
    }
    Node* const pNodes = new (std::nothrow) Node[SizeOf(m_nBlocks)];
    if (pNodes == nullptr)
    {
        return false;
    }
    m_aBlocks[m_nBlocks++] = pNodes;
    m_nFresh = 0;
    return true;
}

/// Frees all blocks but the first @p nKept, whose nodes are all free.
void ZQTaskNodeOverflow::FreeBlocks(int nKept)
{
    while (m_nBlocks > nKept)
    {
        delete[] m_aBlocks[--m_nBlocks];
    }
    m_nFresh = 0;
    m_pFree = nullptr;
}
