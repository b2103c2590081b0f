#ifndef ZQSHAREDMEMORY_H
#define ZQSHAREDMEMORY_H

/// @file
/// Memory that several processes see: an object with a name, which lives in memory, or a file.
///
/// One process owns an object: it creates it, and removes its name when its handle goes. The others open it by the same name
/// and size. Who has it mapped by then keeps it mapped.
///
/// Failures are told by the result and, but for want of memory, by a line on standard output; nothing ends the process.
///
/// Threads: a handle and what it maps are used by one thread at a time. What processes write into the memory at the same time
/// they have to order themselves, with ZQProcessMutex for instance.
///
/// @code
/// ZQSharedMemory memory("prices", 4096, ZQSharedMemory::AccessReadWrite, nullptr, true);  // the owner
/// if (memory.Create()) { static_cast<char*>(memory.Begin())[0] = 1; }
///
/// ZQSharedMemory prices("prices", 4096, ZQSharedMemory::AccessReadOnly, nullptr, false);  // in another process
/// if (prices.Create()) { Show(static_cast<const char*>(prices.Begin())); }
///
/// ZQSharedMemory file("table.bin", ZQSharedMemory::AccessReadOnly, nullptr);              // as long as the file is
/// @endcode

#include "ZQRefCountedObject.h"

#include <string>

class ZQSharedMemoryImpl;

/// A handle of shared memory. Constructing it only records what is wanted; Create() opens and maps. Without memory even for
/// that, it is a handle of nothing.
///
/// Nothing keeps processes from being owners of one name at the same time. The later one resizes the object: where that makes it
/// shorter, the others fault (`SIGBUS`) behind its new end. The first that goes removes the name: who comes then gets another
/// object, while the others go on with the old one. So let one process be the owner, and hold a ZQProcessMutex as long as it is. A
/// file that is cut off while it is mapped faults alike: write a new file and rename it instead.
///
/// Copies are shallow: the copy and its source share one implementation *under one reference*. The first of them that is
/// destroyed or assigned to unmaps the memory, and the other must not be used, nor destroyed, after that. So nothing is
/// assigned from a temporary, handles are not kept by value in containers, and where two owners are needed each has a handle
/// of its own, or counts a reference of a ZQSharedMemoryImpl.
/// @ingroup sharedmemory
class ZQ_API ZQSharedMemory
{
public:
    /// What the memory may be used for. Values other than these mean reading.
    enum EnumAccessMode : int
    {
        AccessReadOnly = 0,  ///< Writing through Begin() faults.
        AccessReadWrite = 1  ///< Reading and writing.
    };

    /// A handle of nothing, which can be assigned to.
    ZQSharedMemory();
    /// A named object, shared by all processes that use the name.
    /// @param szName  without the slash that it gets in front; copied
    /// @param size    bytes, not 0; the owner gives the object this length, also if it exists already. What others map beyond
    ///                the owner's length faults.
    /// @param mode    an owner needs AccessReadWrite
    /// @param addr    where to map it if that is free, or null
    /// @param create  whether this handle is the owner: it creates the object, readable and writable by its user alone, unless it
    ///                exists, and it removes the name when its implementation goes, called Create() or not
    ZQSharedMemory(const char* szName, unsigned int size, EnumAccessMode mode, const void* addr, bool create);
    /// An existing file, as long as it is now; one of 4 GiB or more does not fit, and Create() fails.
    /// @param szPath  the file; copied
    /// @param mode    what the memory may be used for
    /// @param addr    where to map it if that is free, or null
    ZQSharedMemory(const char* szPath, EnumAccessMode mode, const void* addr);
    /// Shares the implementation without a reference of its own; see above.
    ZQSharedMemory(const ZQSharedMemory& other);
    /// Releases its implementation and shares that of @p other without a reference of its own; see above. Nothing happens if they
    /// share it already.
    ZQSharedMemory& operator=(const ZQSharedMemory& other);
    /// Releases the implementation.
    ~ZQSharedMemory();

    /// Opens and maps. Call it once: a second call forgets what the first opened and mapped.
    /// @return `false` without an implementation; else as ZQSharedMemoryImpl::Create()
    bool Create();
    /// The first byte, or null if nothing is mapped.
    void* Begin() const;
    /// What follows the last byte; null without an implementation, the size as an address if nothing is mapped.
    void* End() const;

private:
    ZQSharedMemoryImpl* m_pImpl;  // or null
};

/// What a ZQSharedMemory maps, for those who count its references themselves. The parameters are those of the handle.
/// @ingroup sharedmemory
class ZQ_API ZQSharedMemoryImpl : public ZQRefCountedObject
{
public:
    /// A named object.
    ZQSharedMemoryImpl(const char* szName, unsigned int size, ZQSharedMemory::EnumAccessMode mode, const void* addr,
                       bool create);
    /// An existing file.
    ZQSharedMemoryImpl(const char* szPath, ZQSharedMemory::EnumAccessMode mode, const void* addr);
    /// Unmaps and closes.
    ~ZQSharedMemoryImpl() override;

    /// Opens and maps. @return whether both went well; if not, a line on standard output tells why
    bool Create();
    /// Maps what is open. @return whether that went well; if not, a line on standard output tells so
    bool Map();
    /// Unmaps what is mapped.
    void Unmap();
    /// Closes what is open, and removes the name if this is the owner of a named object. What is mapped stays mapped.
    void Close();
    /// The first byte, or null if nothing is mapped.
    void* Begin() const;
    /// What follows the last byte; the size as an address if nothing is mapped.
    void* End() const;

private:
    bool CanWrite() const;
    bool OpenFile();
    bool OpenObject();

    std::string m_strName;  // with the slash for a named object
    int m_nFd;              // or -1
    unsigned int m_nSize;
    ZQSharedMemory::EnumAccessMode m_eMode;
    void* m_pAddress;          // or null
    const void* m_pPreferred;  // or null
    bool m_bFile;
    bool m_bOwner;
};

#endif
