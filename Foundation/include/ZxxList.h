#ifndef ZXXLIST_H
#define ZXXLIST_H

/// @file
/// Doubly linked lists whose owner decides where their nodes come from.
///
/// Give a list its own pair of node functions and a context, usually a second list of spare nodes, and a busy queue stops
/// allocating: nodes go round between the two. ZxxListInner and ZxxList behave alike; they differ in the names of their
/// node types, so that the nodes of one are never handed to the other by mistake.
///
/// Threads: none of this locks; its owner does.
///
/// @code
/// ZxxListInner<int> list;
/// list.push_back(2);
/// list.push_front(1);
/// for (ZxxListInner<int>::iterator it = list.begin(); it != list.end(); ++it) { Use(*it); }
/// list.erase(list.begin());
/// @endcode

#include "ZQDefine.h"

#include <new>

/// A node of a ZxxListInner: links and element in one block. A node that is in no list is linked to itself.
/// @ingroup lists
template <class T> struct ZQ_API StruZxxListInnerNode
{
    StruZxxListInnerNode* pPrev;  ///< The node before.
    StruZxxListInnerNode* pNext;  ///< The node after.
    T data;                       ///< The element.
};

/// A node of a ZxxList: links and element in one block. A node that is in no list is linked to itself.
/// @ingroup lists
template <class T> struct ZQ_API StruZxxListNode
{
    StruZxxListNode* pPrev;  ///< The node before.
    StruZxxListNode* pNext;  ///< The node after.
    T data;                  ///< The element.
};

/// What both lists share: a ring of nodes around a sentinel, a count and the node functions. Use it by way of
/// ZxxListInner and ZxxList.
///
/// Elements are values; where they are pointers, nothing they point at is ever freed here. Every operation takes constant
/// time, except clear(), set_node_functions() and the destructor, which go over the nodes.
/// @ingroup lists
template <class T, class Node> class ZQ_API ZxxListBase
{
public:
    /// The type of the nodes.
    typedef Node node_type;
    /// Returns a node that is linked to itself, or null, which ends the process at the push that asked for it.
    typedef Node* (*calloc_function)(void* context);
    /// Takes a node that has left its list.
    typedef void (*free_function)(Node* node, void* context);

    /// A place in a list. It stays valid until its node leaves the list.
    class ZQ_API iterator
    {
    public:
        /// A place in no list: it equals another such place alone and may not be read or moved.
        iterator() : _pCurPointer(nullptr), _pList(nullptr)
        {
        }
        /// The place of @p node in the list with the sentinel @p list.
        iterator(Node* node, const Node* list) : _pCurPointer(node), _pList(list)
        {
        }

        /// The element; ends the process for a place in no list.
        T& operator*() const
        {
            Check(_pCurPointer != nullptr, "_pCurPointer", 791);
            return _pCurPointer->data;
        }
        /// Moves to the next place; ends the process for a place in no list.
        iterator& operator++()
        {
            Check(_pCurPointer != nullptr, "_pCurPointer", 803);
            _pCurPointer = _pCurPointer->pNext;
            return *this;
        }
        /// The node at this place, null for a place in no list; for owners that keep their nodes.
        Node* node() const
        {
            return _pCurPointer;
        }
        /// Whether both are the same place of the same list.
        bool operator==(const iterator& other) const
        {
            return _pCurPointer == other._pCurPointer && _pList == other._pList;
        }
        /// Whether they are not.
        bool operator!=(const iterator& other) const
        {
            return !(*this == other);
        }

    private:
        friend class ZxxListBase;

        Node* _pCurPointer;
        const Node* _pList;
    };

    /// An empty list with the default node functions.
    ZxxListBase()
        : m_nCount(0), m_pfnCalloc(&calloc_node), m_pfnFree(&free_node), m_pContext(nullptr),
          m_itEnd(&m_nodeEnd, &m_nodeEnd), m_itReserved(m_itEnd)
    {
        LinkToItself(&m_nodeEnd);
    }
    /// Hands every node to the free function.
    ~ZxxListBase()
    {
        clear();
    }
    ZxxListBase(const ZxxListBase&) = delete;
    ZxxListBase& operator=(const ZxxListBase&) = delete;

    /// The default way to a node: from the heap, zeroed, linked to itself. The context is ignored.
    /// @return a node of the caller's, or null without memory
    static Node* calloc_node(void*)
    {
        Node* node = new (std::nothrow) Node();
        if (node != nullptr)
        {
            LinkToItself(node);
        }
        return node;
    }
    /// The default way back: unlinks @p node if it is linked and deletes it; null is ignored, and so is the context. No
    /// list's count is changed.
    static void free_node(Node* node, void*)
    {
        if (node != nullptr)
        {
            Unlink(node);
            delete node;
        }
    }
    /// Releases all nodes as clear() does, then installs other node functions.
    /// @param pfnCalloc  not null
    /// @param pfnFree    not null
    /// @param context    handed to both as it is; must outlive the list's use of it
    void set_node_functions(calloc_function pfnCalloc, free_function pfnFree, void* context)
    {
        clear();
        m_pfnCalloc = pfnCalloc;
        m_pfnFree = pfnFree;
        m_pContext = context;
    }

    /// The number of elements.
    long size() const
    {
        return m_nCount;
    }
    /// Whether there is no element.
    bool empty() const
    {
        return m_nodeEnd.pNext == &m_nodeEnd;
    }
    /// The place of the first element, end() if there is none.
    iterator begin()
    {
        return iterator(m_nodeEnd.pNext, &m_nodeEnd);
    }
    /// The place after the last element.
    iterator end()
    {
        return m_itEnd;
    }

    /// Appends a copy of @p value; ends the process if the calloc function has no node.
    void push_back(const T& value)
    {
        Node* pNode = m_pfnCalloc(m_pContext);
        Check(pNode != nullptr, "pNode", 1071);
        pNode->data = value;
        link_back(pNode);
    }
    /// Puts a copy of @p value first; ends the process if the calloc function has no node.
    void push_front(const T& value)
    {
        Node* pNode = m_pfnCalloc(m_pContext);
        Check(pNode != nullptr, "pNode", 1087);
        pNode->data = value;
        link_front(pNode);
    }
    /// Removes an element and hands its node to the free function.
    /// @param position  a place in this list; end() removes nothing
    /// @return the next place
    iterator erase(iterator position)
    {
        Node* node = position._pCurPointer;
        Check(node != nullptr, "_pCurPointer", __LINE__);
        if (node == &m_nodeEnd)
        {
            return m_itEnd;
        }
        const iterator next(node->pNext, &m_nodeEnd);
        unlink(node);
        m_pfnFree(node, m_pContext);
        return next;
    }
    /// Removes every element, first to last, and hands each node to the free function.
    void clear()
    {
        while (!empty())
        {
            Node* node = m_nodeEnd.pNext;
            Unlink(node);
            m_pfnFree(node, m_pContext);
            --m_nCount;
        }
    }

    /// @name Nodes that their owner keeps
    /// @{

    /// Whether @p node is in a list.
    static bool linked(const Node* node)
    {
        return node->pNext != node;
    }
    /// Takes @p node out of the list that it is in, if any, and leaves that list's count as it is.
    static void detach(Node* node)
    {
        Unlink(node);
    }
    /// Takes @p node out of this list and leaves it, linked to itself, to the caller. The free function is not called.
    void unlink(Node* node)
    {
        Unlink(node);
        --m_nCount;
    }
    /// Makes @p node, which is in no list, the last one.
    void link_back(Node* node)
    {
        LinkBetween(m_nodeEnd.pPrev, node, &m_nodeEnd);
    }
    /// Makes @p node, which is in no list, the first one.
    void link_front(Node* node)
    {
        LinkBetween(&m_nodeEnd, node, m_nodeEnd.pNext);
    }
    /// The first node, or null; it stays in the list.
    Node* front_node()
    {
        return empty() ? nullptr : m_nodeEnd.pNext;
    }
    /// The last node, or null; it stays in the list.
    Node* back_node()
    {
        return empty() ? nullptr : m_nodeEnd.pPrev;
    }
    /// @}

private:
    /// The path and the lines are those of the documented reports, whatever the source looks like.
    static void Check(bool holds, const char* expression, int line)
    {
        ZQCrashUnless(holds, expression, "Foundation/src/../include/ZxxList", line);
    }
    static void LinkToItself(Node* node)
    {
        node->pPrev = node;
        node->pNext = node;
    }
    static void Unlink(Node* node)
    {
        node->pPrev->pNext = node->pNext;
        node->pNext->pPrev = node->pPrev;
        LinkToItself(node);
    }
    void LinkBetween(Node* previous, Node* node, Node* next)
    {
        node->pPrev = previous;
        node->pNext = next;
        previous->pNext = node;
        next->pPrev = node;
        ++m_nCount;
    }

    Node m_nodeEnd;  // the sentinel; its data is never used
    long m_nCount;
    calloc_function m_pfnCalloc;
    free_function m_pfnFree;
    void* m_pContext;
    iterator m_itEnd;
    iterator m_itReserved;
};

/// The list of the pools, the timers and the memory pool.
/// @ingroup lists
template <class T> class ZQ_API ZxxListInner : public ZxxListBase<T, StruZxxListInnerNode<T>>
{
};

/// The list of a task pool's slots.
/// @ingroup lists
template <class T> class ZQ_API ZxxList : public ZxxListBase<T, StruZxxListNode<T>>
{
};

#endif
