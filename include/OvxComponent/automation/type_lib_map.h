/// \file
/// CTypeLibMap: the process-wide registry of live CTypeLib wrappers, by ITypeLib*.
///
/// Reached through OvxUtils::Singleton<CTypeLibMap>, which is instantiated once inside
/// OvxComponent, so that the library and every host module share one map. The map holds
/// no references: a wrapper stays registered from its first GetMapEntry until its last
/// Release, which removes it. Any thread may call it; it uses its write lock only.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"
#include "OvxComponent/platform/singleton.h"
#include "OvxComponent/platform/thread_lock.h"

#include <windows.h>
#include <oaidl.h>

#include <cstddef>
#include <map>

namespace OvxComponent {

class CTypeLib;

/// The process's registry of CTypeLib wrappers, one per loaded ITypeLib pointer.
class OVX_API CTypeLibMap : public OvxUtils::ThreadLock {
public:
    ~CTypeLibMap() override;
    CTypeLibMap(const CTypeLibMap&) = delete;
    CTypeLibMap& operator=(const CTypeLibMap&) = delete;

    /// The wrapper of typeLib, made and registered on first request, with one reference
    /// for the caller (ended by CTypeLib::Release). Null only when no wrapper could be
    /// made. The key is the pointer as given: two interface pointers to one library give
    /// two wrappers.
    /// \param typeLib The library.
    /// \return The wrapper, or null.
    CTypeLib* GetMapEntry(ITypeLib* typeLib);
    /// Forgets the entry of typeLib, if any; the wrapper itself is not touched.
    /// \param typeLib The library.
    void RemoveMapEntry(ITypeLib* typeLib);

    /// The number of registered wrappers, for diagnostics.
    /// \return The number of wrappers.
    std::size_t GetEntryCount() const;

private:
    friend class OvxUtils::Singleton<CTypeLibMap>;
    friend class CTypeLib;

    CTypeLibMap();

    /// Forgets the entry of typeLib only while it still names expected: a wrapper that is
    /// going away must not take the entry of its successor with it.
    void RemoveMapEntry(ITypeLib* typeLib, const CTypeLib* expected);

    std::map<ITypeLib*, CTypeLib*> m_entries;  ///< not counted
};

}  // namespace OvxComponent

/// The one instance lives in OvxComponent; host modules use it from there.
extern template class OVX_API OvxUtils::Singleton<OvxComponent::CTypeLibMap>;
