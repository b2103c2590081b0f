#include "ZQOSApi.h"
#include "ZQSharedMemory.h"

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t ObjectMode = S_IRUSR | S_IWUSR;

/// The size of a file, or 0, which cannot be mapped, if there is none or its size does not fit.
unsigned int SizeOfFile(const char* szPath)
{
    const int64_t size = szPath != nullptr ? ZQGetFileSize(szPath) : 0;
    const bool bFits = size >= 0 && size <= std::numeric_limits<unsigned int>::max();
    return bFits ? static_cast<unsigned int>(size) : 0;
}
}  // namespace

ZQSharedMemoryImpl::ZQSharedMemoryImpl(const char* szName, unsigned int size, ZQSharedMemory::EnumAccessMode mode,
                                       const void* addr, bool create)
    : m_strName(szName != nullptr ? std::string("/") + szName : std::string()), m_nFd(-1), m_nSize(size), m_eMode(mode),
      m_pAddress(nullptr), m_pPreferred(addr), m_bFile(false), m_bOwner(create)
{
}

ZQSharedMemoryImpl::ZQSharedMemoryImpl(const char* szPath, ZQSharedMemory::EnumAccessMode mode, const void* addr)
    : m_strName(szPath != nullptr ? szPath : ""), m_nFd(-1), m_nSize(SizeOfFile(szPath)), m_eMode(mode),
      m_pAddress(nullptr), m_pPreferred(addr), m_bFile(true), m_bOwner(false)
{
}

ZQSharedMemoryImpl::~ZQSharedMemoryImpl()
{
    Unmap();
    Close();
}

bool ZQSharedMemoryImpl::Create()
{
    if (m_strName.empty() || m_nSize == 0)
    {
        puts("Cannot create shared memory object: param error ");
        return false;
    }
    return (m_bFile ? OpenFile() : OpenObject()) && Map();
}

bool ZQSharedMemoryImpl::OpenFile()
{
    m_nFd = open(m_strName.c_str(), (CanWrite() ? O_RDWR : O_RDONLY) | O_CLOEXEC);
    if (m_nFd == -1)
    {
        printf("Cannot open memory mapped file: %s \n", m_strName.c_str());
        return false;
    }
    return true;
}

bool ZQSharedMemoryImpl::OpenObject()
{
    // shm_open marks the descriptor close-on-exec itself.
    m_nFd = shm_open(m_strName.c_str(), (CanWrite() ? O_RDWR : O_RDONLY) | (m_bOwner ? O_CREAT : 0), ObjectMode);
    if (m_nFd == -1)
    {
        printf("Cannot create shared memory object: %s \n", m_strName.c_str());
        return false;
    }
    if (m_bOwner && ftruncate(m_nFd, m_nSize) == -1)
    {
        Close();
        printf("Cannot resize shared memory object: %s \n", m_strName.c_str());
        return false;
    }
    return true;
}

bool ZQSharedMemoryImpl::Map()
{
    void* const pHint = const_cast<void*>(m_pPreferred);
    void* const pMapped = mmap(pHint, m_nSize, CanWrite() ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, m_nFd, 0);
    if (pMapped == MAP_FAILED)
    {
        printf("Cannot map shared memory object: %s \n", m_strName.c_str());
        return false;
    }
    m_pAddress = pMapped;
    return true;
}

void ZQSharedMemoryImpl::Unmap()
{
    if (m_pAddress != nullptr)
    {
        munmap(m_pAddress, m_nSize);
        m_pAddress = nullptr;
    }
}

void ZQSharedMemoryImpl::Close()
{
    if (m_nFd != -1)
    {
        close(m_nFd);
        m_nFd = -1;
    }
    if (!m_bFile && m_bOwner)
    {
        shm_unlink(m_strName.c_str());
    }
}

void* ZQSharedMemoryImpl::Begin() const
{
    return m_pAddress;
}

void* ZQSharedMemoryImpl::End() const
{
    const uintptr_t end = reinterpret_cast<uintptr_t>(m_pAddress) + m_nSize;  // nothing may be added to a null pointer
    return reinterpret_cast<void*>(end);                                      // NOLINT(performance-no-int-to-ptr)
}

bool ZQSharedMemoryImpl::CanWrite() const
{
    return m_eMode == ZQSharedMemory::AccessReadWrite;
}
