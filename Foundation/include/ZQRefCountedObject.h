#ifndef ZQREFCOUNTEDOBJECT_H
#define ZQREFCOUNTEDOBJECT_H

/// @file
/// A base class for objects that several owners share.
///
/// @code
/// class Picture : public ZQRefCountedObject { ... };
///
/// Picture* picture = new Picture;  // the first reference is the creator's
/// picture->Duplicate();            // one for the other owner,
/// other->Show(picture);            // who calls Release() when done
/// picture->Release();              // whoever is last deletes the picture
/// @endcode

#include "ZQDefine.h"

/// Counts its owners and deletes itself when the last of them lets go.
///
/// Lifetime: make it with `new`, never on the stack, as a member or in a smart pointer that deletes. Give the class a
/// destructor that is not public, and the compiler finds who deletes it by hand. It is not copied, for a copy has owners
/// of its own. Nothing checks the count: Release() without a reference is undefined.
///
/// Threads: any operation from any thread that has a reference. What the last Release() deletes has seen all that the
/// other owners did before theirs. Derived classes guard their own state.
/// @ingroup refcount
class ZQ_API ZQRefCountedObject
{
public:
    /// Makes an object with one reference, the caller's.
    ZQRefCountedObject();
    /// Called by the last Release().
    virtual ~ZQRefCountedObject();
    ZQRefCountedObject(const ZQRefCountedObject&) = delete;
    ZQRefCountedObject& operator=(const ZQRefCountedObject&) = delete;

    /// Adds a reference to this object; nothing is copied.
    /// @return the number of references now
    long Duplicate() const;
    /// Drops the caller's reference, with which the object is gone for the caller; the last one deletes it.
    void Release() const;
    /// The number of references, which others may change at any time: good for tests and logs, not for decisions.
    long ReferenceCount() const;

private:
    mutable long m_nRef;  // changed by the atomic functions alone
};

#endif
