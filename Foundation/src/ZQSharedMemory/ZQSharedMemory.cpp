#include "ZQSharedMemory.h"

#include <new>
#include <utility>

namespace
{
/// An implementation, or null without memory: failures show in Create(), not in constructors.
template <class... Arguments> ZQSharedMemoryImpl* NewImpl(Arguments... arguments)
{
    try
    {
        return new ZQSharedMemoryImpl(arguments...);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}
}  // namespace

ZQSharedMemory::ZQSharedMemory() : m_pImpl(nullptr)
{
}

ZQSharedMemory::ZQSharedMemory(const char* szName, unsigned int size, EnumAccessMode mode, const void* addr,
                               bool create)
    : m_pImpl(NewImpl(szName, size, mode, addr, create))
{
}

ZQSharedMemory::ZQSharedMemory(const char* szPath, EnumAccessMode mode, const void* addr)
    : m_pImpl(NewImpl(szPath, mode, addr))
{
}

ZQSharedMemory::ZQSharedMemory(const ZQSharedMemory& other) = default;

ZQSharedMemory& ZQSharedMemory::operator=(const ZQSharedMemory& other)
{
    if (m_pImpl != other.m_pImpl)  // else the copy would release the very implementation that stays in use
    {
        ZQSharedMemory copy(other);
        std::swap(m_pImpl, copy.m_pImpl);
    }
    return *this;
}

ZQSharedMemory::~ZQSharedMemory()
{
    if (m_pImpl != nullptr)
    {
        m_pImpl->Release();
    }
}

bool ZQSharedMemory::Create()
{
    return m_pImpl != nullptr && m_pImpl->Create();
}

void* ZQSharedMemory::Begin() const
{
    return m_pImpl != nullptr ? m_pImpl->Begin() : nullptr;
}

void* ZQSharedMemory::End() const
{
    return m_pImpl != nullptr ? m_pImpl->End() : nullptr;
}
