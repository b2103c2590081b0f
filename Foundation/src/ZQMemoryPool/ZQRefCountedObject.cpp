#include "ZQRefCountedObject.h"

#include "ZQOSApi.h"

ZQRefCountedObject::ZQRefCountedObject() : m_nRef(1)
{
}

ZQRefCountedObject::~ZQRefCountedObject() = default;

long ZQRefCountedObject::Duplicate() const
{
    return ZQAtomicInc(&m_nRef);
}

void ZQRefCountedObject::Release() const
{
    if (ZQAtomicDec(&m_nRef) == 0)
    {
        delete this;
    }
}

long ZQRefCountedObject::ReferenceCount() const
{
    return ZQAtomicGet(&m_nRef);
}
