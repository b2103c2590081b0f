// The layout of the classes, which programs that were built against an earlier release carry in their own code: they make
// the objects, embed them and derive from them. Nothing here is code: where a member was moved or retyped, or one was added
// outside of padding, it does not compile. What else the interface consists of is held by the files of Foundation/abi.
//
// The sizes of the pthread types differ between architectures, so no offset is given as a number: each member starts where
// the one before ends, padded to its own alignment, and the class ends with the last. With the types that fixes every offset.

#include "ZQMemoryPool/ZQMemoryPoolChunk.h"
#include "ZQOSApi.h"
#include "ZQSharedMemory.h"
#include "ZQThreadPool/ZQRefThreadPoolGlobal.h"
#include "ZQThreadPool/ZQTaskPoolCore.h"
#include "ZQTime/ZQTimerGlobal.h"

#include <cstddef>
#include <type_traits>

// For classes with a virtual table or a base it is up to the compiler whether offsetof works; GCC and Clang promise it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace
{

template <std::size_t TheOffset, class Found, class Promised> struct Member
{
    static_assert(std::is_same<typename std::remove_cv<Found>::type, Promised>::value, "a member has another type");
    enum : std::size_t
    {
        Offset = TheOffset,
        Size = sizeof(Promised),  // NOLINT(bugprone-sizeof-expression): of pointers too
        Alignment = alignof(Promised)
    };
};

constexpr std::size_t PaddedTo(std::size_t alignment, std::size_t offset)
{
    return (offset + alignment - 1) / alignment * alignment;
}

// The end of the last of the members, if the first follows `end` and each of the others the one before it.
template <class... Members> constexpr std::size_t EndOfAdjacent(std::size_t end)
{
    const bool adjacent =
        ((Members::Offset == PaddedTo(Members::Alignment, end) && (end = Members::Offset + Members::Size) != 0) && ...);
    return adjacent ? end : 0;
}

// `Start` is what stands before the first member: the base, or the pointer to the virtual table. Only explicit
// instantiations may name private members from here, so that each class below is one. Enumerators, since static members
// would go into the library.
template <class Class, std::size_t Start, class... Members> struct Layout
{
    enum : std::size_t
    {
        End = EndOfAdjacent<Members...>(Start)
    };
    static_assert(End != 0, "the members stand in another order, or there is one more between them");
    static_assert(sizeof(Class) == PaddedTo(alignof(Class), End), "the class has another size");
};

typedef ZxxListInner<void*> AnyInner;
typedef ZxxListBase<void*, AnyInner::node_type> AnyInnerBase;
typedef ZxxList<long> AnyList;
typedef ZxxListBase<long, AnyList::node_type> AnyListBase;
typedef ZxxListInner<ZQRefThreadPool::MyThread*> ThreadList;
typedef ZxxListInner<ZQRefThreadPool::_StruRefTask> TaskList;
typedef ZxxList<ZQTaskPoolCore::_StruMySelf> SlotList;

constexpr std::size_t VTable = sizeof(void*);

#define ZQ_MEMBER(Class, name, ...) Member<offsetof(Class, name), decltype(Class::name), __VA_ARGS__>

// clang-format off

// ZQMutex.h

template struct Layout<ZQMutex, 0,
    ZQ_MEMBER(ZQMutex, m_nLocked, int),
    ZQ_MEMBER(ZQMutex, m_hOS, pthread_mutex_t)>;
template struct Layout<ZQMutexRW, 0,
    ZQ_MEMBER(ZQMutexRW, m_pReaders, ZQMutexRW::_StruReaders*),
    ZQ_MEMBER(ZQMutexRW, m_isWLocked, int),
    ZQ_MEMBER(ZQMutexRW, m_hOS, pthread_rwlock_t),
    ZQ_MEMBER(ZQMutexRW, m_attr, pthread_rwlockattr_t)>;
template struct Layout<ZQCond, 0,
    ZQ_MEMBER(ZQCond, m_hOS, pthread_cond_t),
    ZQ_MEMBER(ZQCond, m_attr, pthread_condattr_t),
    ZQ_MEMBER(ZQCond, m_nFork, int)>;
template struct Layout<ZQProcessMutex, 0,
    ZQ_MEMBER(ZQProcessMutex, m_ZQProcessMutex, int),
    ZQ_MEMBER(ZQProcessMutex, m_mutex, ZQMutex)>;

// ZxxList.h

template struct Layout<AnyInner::node_type, 0,
    ZQ_MEMBER(AnyInner::node_type, pPrev, AnyInner::node_type*),
    ZQ_MEMBER(AnyInner::node_type, pNext, AnyInner::node_type*),
    ZQ_MEMBER(AnyInner::node_type, data, void*)>;
template struct Layout<AnyList::node_type, 0,
    ZQ_MEMBER(AnyList::node_type, pPrev, AnyList::node_type*),
    ZQ_MEMBER(AnyList::node_type, pNext, AnyList::node_type*),
    ZQ_MEMBER(AnyList::node_type, data, long)>;
template struct Layout<AnyInner::iterator, 0,
    ZQ_MEMBER(AnyInner::iterator, _pCurPointer, AnyInner::node_type*),
    ZQ_MEMBER(AnyInner::iterator, _pList, const AnyInner::node_type*)>;
template struct Layout<AnyInner, 0,
    ZQ_MEMBER(AnyInnerBase, m_nodeEnd, AnyInner::node_type),
    ZQ_MEMBER(AnyInnerBase, m_nCount, long),
    ZQ_MEMBER(AnyInnerBase, m_pfnCalloc, AnyInner::calloc_function),
    ZQ_MEMBER(AnyInnerBase, m_pfnFree, AnyInner::free_function),
    ZQ_MEMBER(AnyInnerBase, m_pContext, void*),
    ZQ_MEMBER(AnyInnerBase, m_itEnd, AnyInner::iterator),
    ZQ_MEMBER(AnyInnerBase, m_itReserved, AnyInner::iterator)>;
template struct Layout<AnyList, 0, Member<0, AnyListBase, AnyListBase>>;

// ZQThreadPool.h and what its pools are made of

template struct Layout<ZQThread, VTable,
    ZQ_MEMBER(ZQThread, m_hThread, pthread_t),
    ZQ_MEMBER(ZQThread, m_nStatus, int),
    ZQ_MEMBER(ZQThread, m_mutex, ZQMutex),
    ZQ_MEMBER(ZQThread, m_cond, ZQCond),
    ZQ_MEMBER(ZQThread, m_pfnProc, ZQThread::ThreadFunction),
    ZQ_MEMBER(ZQThread, m_pParam, void*),
    ZQ_MEMBER(ZQThread, m_pUserData, void*),
    ZQ_MEMBER(ZQThread, m_lThreadID, long),
    ZQ_MEMBER(ZQThread, m_nFork, int)>;
template struct Layout<ZQThreadPool, 0,
    ZQ_MEMBER(ZQThreadPool, m_nMinThreads, int),
    ZQ_MEMBER(ZQThreadPool, m_nMaxThreads, int),
    ZQ_MEMBER(ZQThreadPool, m_nIdleTimeout, int),
    ZQ_MEMBER(ZQThreadPool, m_mutex, ZQMutex),
    ZQ_MEMBER(ZQThreadPool, m_cond, ZQCond),
    ZQ_MEMBER(ZQThreadPool, m_vecThreads, std::vector<ZQThread*>*),
    ZQ_MEMBER(ZQThreadPool, m_listTasks, std::list<ZQThreadPool::_StruTask>*),
    ZQ_MEMBER(ZQThreadPool, m_bRunning, bool),
    ZQ_MEMBER(ZQThreadPool, m_nIdleThreads, int),
    ZQ_MEMBER(ZQThreadPool, m_nCapacity, int),
    ZQ_MEMBER(ZQThreadPool, m_listSpare, std::list<ZQThreadPool::_StruTask>),
    ZQ_MEMBER(ZQThreadPool, m_nFork, int)>;
template struct Layout<ZQRefThreadPool::_StruRefTask, 0,
    ZQ_MEMBER(ZQRefThreadPool::_StruRefTask, pfnTask, ZQRefThreadPool::TaskFunction),
    ZQ_MEMBER(ZQRefThreadPool::_StruRefTask, pArg, void*),
    ZQ_MEMBER(ZQRefThreadPool::_StruRefTask, pCore, ZQTaskPoolCore*)>;
template struct Layout<ZQRefThreadPool::MyThread, sizeof(ZQThread),
    ZQ_MEMBER(ZQRefThreadPool::MyThread, m_cond, ZQCond)>;
template struct Layout<ZQRefThreadPool, 0,
    ZQ_MEMBER(ZQRefThreadPool, m_nMinThreads, int),
    ZQ_MEMBER(ZQRefThreadPool, m_nMaxThreads, int),
    ZQ_MEMBER(ZQRefThreadPool, m_nIdleTimeout, int),
    ZQ_MEMBER(ZQRefThreadPool, m_mutex, ZQMutex),
    ZQ_MEMBER(ZQRefThreadPool, m_listThreads, ThreadList),
    ZQ_MEMBER(ZQRefThreadPool, m_listIdle, ThreadList),
    ZQ_MEMBER(ZQRefThreadPool, m_listTasks, TaskList),
    ZQ_MEMBER(ZQRefThreadPool, m_listTaskCache, TaskList),
    ZQ_MEMBER(ZQRefThreadPool, m_bRunning, bool),
    ZQ_MEMBER(ZQRefThreadPool, m_nCapacity, int),
    ZQ_MEMBER(ZQRefThreadPool, m_nRefs, long),
    ZQ_MEMBER(ZQRefThreadPool, m_mutexTPL, ZQMutex),
    ZQ_MEMBER(ZQRefThreadPool, m_listTPLCache, AnyInner),
    ZQ_MEMBER(ZQRefThreadPool, m_nWakes, int),
    ZQ_MEMBER(ZQRefThreadPool, m_nFork, int)>;
template struct Layout<ZQRefThreadPoolGlobal, 0,
    ZQ_MEMBER(ZQRefThreadPoolGlobal, m_pObj, ZQRefThreadPool*),
    ZQ_MEMBER(ZQRefThreadPoolGlobal, m_nFork, int)>;
template struct Layout<ZQTaskPool, 0,
    ZQ_MEMBER(ZQTaskPool, m_pCore, ZQTaskPoolCore*)>;
template struct Layout<ZQTaskPoolCore::_StruMySelf, 0,
    ZQ_MEMBER(ZQTaskPoolCore::_StruMySelf, pThis, ZQTaskPoolCore*),
    ZQ_MEMBER(ZQTaskPoolCore::_StruMySelf, lThreadID, long)>;
template struct Layout<ZQTaskPoolCore, 0,
    ZQ_MEMBER(ZQTaskPoolCore, m_pPool, ZQRefThreadPool*),
    ZQ_MEMBER(ZQTaskPoolCore, m_lMaxWaitTasks, long),
    ZQ_MEMBER(ZQTaskPoolCore, m_nRefs, long),
    ZQ_MEMBER(ZQTaskPoolCore, m_iMaxThread, int),
    ZQ_MEMBER(ZQTaskPoolCore, m_fnTask, ZQTaskPool::DataFunction),
    ZQ_MEMBER(ZQTaskPoolCore, m_fnFree, ZQTaskPool::DataFunction),
    ZQ_MEMBER(ZQTaskPoolCore, m_pUser, void*),
    ZQ_MEMBER(ZQTaskPoolCore, m_bPausing, bool),
    ZQ_MEMBER(ZQTaskPoolCore, m_bPauseDrain, bool),
    ZQ_MEMBER(ZQTaskPoolCore, m_nStatus, unsigned int),
    ZQ_MEMBER(ZQTaskPoolCore, m_nStartedSlots, int),
    ZQ_MEMBER(ZQTaskPoolCore, m_lPauseThreadID, long),
    ZQ_MEMBER(ZQTaskPoolCore, m_listFreeSlots, SlotList),
    ZQ_MEMBER(ZQTaskPoolCore, m_listBusySlots, SlotList),
    ZQ_MEMBER(ZQTaskPoolCore, m_listWait, AnyInner),
    ZQ_MEMBER(ZQTaskPoolCore, m_mutex, ZQMutex),
    ZQ_MEMBER(ZQTaskPoolCore, m_cond, ZQCond),
    ZQ_MEMBER(ZQTaskPoolCore, m_nActiveThreads, long),
    ZQ_MEMBER(ZQTaskPoolCore, m_nFork, int),
    ZQ_MEMBER(ZQTaskPoolCore, m_stash, ZQTaskNodeStash)>;

// ZQTime.h and the timers' inside

template struct Layout<ZQDateTime, 0,
    ZQ_MEMBER(ZQDateTime, m_nYear, int),
    ZQ_MEMBER(ZQDateTime, m_nMonth, int),
    ZQ_MEMBER(ZQDateTime, m_nDay, int),
    ZQ_MEMBER(ZQDateTime, m_nHour, int),
    ZQ_MEMBER(ZQDateTime, m_nMinute, int),
    ZQ_MEMBER(ZQDateTime, m_nSecond, int),
    ZQ_MEMBER(ZQDateTime, m_nMilliSecond, int),
    ZQ_MEMBER(ZQDateTime, m_nWeekDay, int),
    ZQ_MEMBER(ZQDateTime, m_szText, char[64])>;
template struct Layout<ZQTimeMeter, 0,
    ZQ_MEMBER(ZQTimeMeter, m_nStartTick, unsigned long)>;
template struct Layout<ZQTimer, 0,
    ZQ_MEMBER(ZQTimer, m_lTimerID, long),
    ZQ_MEMBER(ZQTimer, m_bStarted, bool),
    ZQ_MEMBER(ZQTimer, m_nInterval, int),
    ZQ_MEMBER(ZQTimer, m_pCallback, ZQTimer::Callback),
    ZQ_MEMBER(ZQTimer, m_pUser, void*),
    ZQ_MEMBER(ZQTimer, m_mutex, ZQMutex),
    ZQ_MEMBER(ZQTimer, m_pShared, ZQTimer::_StruShared*),
    ZQ_MEMBER(ZQTimer, m_meter, ZQTimeMeter),
    ZQ_MEMBER(ZQTimer, m_nFork, int)>;
template struct Layout<ZQTimer::_StruShared, 0,
    ZQ_MEMBER(ZQTimer::_StruShared, mutex, ZQMutex),
    ZQ_MEMBER(ZQTimer::_StruShared, nRef, long),
    ZQ_MEMBER(ZQTimer::_StruShared, bRunning, bool),
    ZQ_MEMBER(ZQTimer::_StruShared, lThreadID, long),
    ZQ_MEMBER(ZQTimer::_StruShared, _nOnlyOne, long),
    ZQ_MEMBER(ZQTimer::_StruShared, node, ZQTimer::_StruShared::DueNode),
    ZQ_MEMBER(ZQTimer::_StruShared, place, std::size_t)>;
template struct Layout<ZQTimerGlobal, 0,
    ZQ_MEMBER(ZQTimerGlobal, m_pPool, ZQThreadPool*),
    ZQ_MEMBER(ZQTimerGlobal, m_nInit, long),
    ZQ_MEMBER(ZQTimerGlobal, m_thread, ZQThread),
    ZQ_MEMBER(ZQTimerGlobal, m_mutex, ZQMutex),
    ZQ_MEMBER(ZQTimerGlobal, m_setTimers, ZQTimerSchedule),
    ZQ_MEMBER(ZQTimerGlobal, m_lstDue, ZxxListInner<ZQTimer*>),
    ZQ_MEMBER(ZQTimerGlobal, m_mutexModule, ZQMutex),
    ZQ_MEMBER(ZQTimerGlobal, m_nParentInit, long),
    ZQ_MEMBER(ZQTimerGlobal, m_nFork, int)>;

// ZQRefCountedObject.h, ZQMemoryPool.h

template struct Layout<ZQRefCountedObject, VTable,
    ZQ_MEMBER(ZQRefCountedObject, m_nRef, long)>;
template struct Layout<ZQMemoryPool, 0,
    ZQ_MEMBER(ZQMemoryPool, m_nUnit, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_nSliceSize, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_nNextCount, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_nMaxCount, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_bOrdered, bool),
    ZQ_MEMBER(ZQMemoryPool, m_nTotal, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_lstChunks, ZxxListInner<char*>),
    ZQ_MEMBER(ZQMemoryPool, m_nFree, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_pFreeChunks, ZQMemoryPool::_StruChunk*),
    ZQ_MEMBER(ZQMemoryPool, m_pLastFreed, void*),
    ZQ_MEMBER(ZQMemoryPool, m_pKeptChunk, ZQMemoryPool::_StruChunk*),
    ZQ_MEMBER(ZQMemoryPool, m_nMostKept, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_nKept, unsigned int),
    ZQ_MEMBER(ZQMemoryPool, m_aKept, void* [64])>;
template struct Layout<ZQMemoryPool::_StruChunk, 0,
    ZQ_MEMBER(ZQMemoryPool::_StruChunk, pNext, ZQMemoryPool::_StruChunk*),
    ZQ_MEMBER(ZQMemoryPool::_StruChunk, pPool, ZQMemoryPool*),
    ZQ_MEMBER(ZQMemoryPool::_StruChunk, pFree, ZQMemoryPool::_StruSlice*),
    ZQ_MEMBER(ZQMemoryPool::_StruChunk, nPartition, unsigned short),
    ZQ_MEMBER(ZQMemoryPool::_StruChunk, nFrees, unsigned short),
    ZQ_MEMBER(ZQMemoryPool::_StruChunk, nMissing, unsigned int)>;
template struct Layout<ZQMemoryPool::_StruSlice, 0,
    ZQ_MEMBER(ZQMemoryPool::_StruSlice, pChunk, ZQMemoryPool::_StruChunk*),
    ZQ_MEMBER(ZQMemoryPool::_StruSlice, nSlices, unsigned short)>;

// ZQOSApi.h, ZQSharedMemory.h

template struct Layout<_ZQStruFileInfo, 0,
    ZQ_MEMBER(_ZQStruFileInfo, pszPath, const char*),
    ZQ_MEMBER(_ZQStruFileInfo, nType, int)>;
template struct Layout<ZQIFAddrRecord, 0,
    ZQ_MEMBER(ZQIFAddrRecord, bFlag, char),
    ZQ_MEMBER(ZQIFAddrRecord, szAddr, char[128]),
    ZQ_MEMBER(ZQIFAddrRecord, szMask, char[128]),
    ZQ_MEMBER(ZQIFAddrRecord, szReserved, char[128])>;
template struct Layout<ZQMacAddrRecord, 0,
    ZQ_MEMBER(ZQMacAddrRecord, bValid, char),
    ZQ_MEMBER(ZQMacAddrRecord, szMac, char[128])>;
template struct Layout<ZQSharedMemory, 0,
    ZQ_MEMBER(ZQSharedMemory, m_pImpl, ZQSharedMemoryImpl*)>;
template struct Layout<ZQSharedMemoryImpl, sizeof(ZQRefCountedObject),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_strName, std::string),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_nFd, int),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_nSize, unsigned int),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_eMode, ZQSharedMemory::EnumAccessMode),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_pAddress, void*),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_pPreferred, const void*),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_bFile, bool),
    ZQ_MEMBER(ZQSharedMemoryImpl, m_bOwner, bool)>;

// clang-format on

}  // namespace
