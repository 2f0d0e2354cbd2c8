/// \file
/// CComObjectRootEx<ThreadModel>: the reference count of a COM object, and the thread
/// models that say how it is changed.
///
/// A class built on the root implements its interfaces and InternalQueryInterface; the
/// object template that makes it creatable (CComObjectAppLock) supplies QueryInterface,
/// AddRef and Release on top of it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <windows.h>
#include <unknwn.h>

namespace OvxComponent {

/// For objects used by one thread, as single-threaded apartment objects are: plain
/// increments, no lock.
struct CComSingleThreadModel {
    /// \param value The count.
    /// \return The count after the increment.
    static ULONG Increment(ULONG& value) noexcept { return ++value; }
    /// \param value The count.
    /// \return The count after the decrement.
    static ULONG Decrement(ULONG& value) noexcept { return --value; }
};

template <class ThreadModel>
/// The reference count of a COM object, for the object's AddRef and Release.
/// \tparam ThreadModel How the count changes (CComSingleThreadModel).
class CComObjectRootEx {
public:
    CComObjectRootEx() = default;
    CComObjectRootEx(const CComObjectRootEx&) = delete;
    CComObjectRootEx& operator=(const CComObjectRootEx&) = delete;

protected:
    ~CComObjectRootEx() = default;

    /// \return The count after the increment.
    ULONG InternalAddRef() noexcept { return ThreadModel::Increment(m_refCount); }
    /// \return The count after the decrement; the object deletes itself at 0.
    ULONG InternalRelease() noexcept { return ThreadModel::Decrement(m_refCount); }

    /// The references held on the object.
    ULONG m_refCount = 0;
};

}  // namespace OvxComponent
