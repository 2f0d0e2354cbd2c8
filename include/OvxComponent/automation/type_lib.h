/// \file
/// CTypeLib: the process-wide wrapper of one loaded ITypeLib, with the caches that make
/// repeated questions to the library cheap: the CTypeInfo wrappers it has handed out, by
/// interface GUID, and the type infos it has found by kind and name.
///
/// Wrappers are shared: CTypeLibMap hands out the one wrapper of an ITypeLib* (and the
/// loaders get theirs from there). The wrapper counts its own references, starting at 0;
/// whoever hands one out raises the count first, and the last Release removes the wrapper
/// from the map and destroys it. Every operation may be called on any thread; the object
/// is its own reader/writer lock.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/automation/no_case_less.h"
#include "OvxComponent/comsupport/com_ptr.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/ovx_export.h"
#include "OvxComponent/platform/thread_lock.h"

#include <windows.h>
#include <oaidl.h>

#include <atomic>
#include <map>

namespace OvxComponent {

class CTypeInfo;

/// A counted wrapper of a loaded ITypeLib, shared through CTypeLibMap, with a cache of the
/// CTypeInfo of its interfaces.
class OVX_API CTypeLib : public OvxUtils::ThreadLock {
public:
    /// Takes a reference on typeLib when it is non-null. The count starts at 0.
    /// \param typeLib The library, or null.
    explicit CTypeLib(ITypeLib* typeLib);
    CTypeLib(const CTypeLib&) = delete;
    CTypeLib& operator=(const CTypeLib&) = delete;

    /// Takes a reference.
    void AddRef();
    /// The last Release removes the wrapper from CTypeLibMap and destroys it.
    /// Ends a reference.
    void Release();
    /// The current count, for diagnostics; it may change as soon as it is read.
    /// \return The count.
    unsigned long GetRefCount() const;

    /// The wrapped library, without a reference for the caller.
    /// \return The library, or null.
    ITypeLib* GetITypeLib() const;

    /// The shared CTypeInfo of the interface guid, made on first request; *result carries
    /// one reference. E_FAIL without a library; the library's HRESULT when it has no such
    /// interface (nothing is cached then); E_OUTOFMEMORY, with *result null, when the
    /// wrapper cannot be made.
    /// \param guid The interface ID.
    /// \param result Receives the wrapper.
    /// \return S_OK, or the failure.
    HRESULT GetTypeInfo(const OvxUtils::Guid& guid, CTypeInfo** result);
    /// Forgets the CTypeInfo of guid, if one is cached. Called by a CTypeInfo whose last
    /// reference has gone.
    /// \param guid The interface ID.
    void RemoveTypeInfo(const OvxUtils::Guid& guid);

    /// The type info of the first type of the given kind whose name equals name ignoring
    /// case, or null. Hits are remembered under the name as the first caller spelled it;
    /// misses are not, so a name that is not there costs a scan of the library each time.
    /// \param name The type's name.
    /// \param kind The type's kind.
    /// \return The type info, or null.
    CComPtr<ITypeInfo> FindTypeInfoByName(CString name, TYPEKIND kind);

private:
    friend class CTypeInfo;
    friend class CTypeLibMap;

    ~CTypeLib() override;

    /// Takes a reference unless the count has already reached 0, that is unless the object
    /// is on its way out and must not be handed out again.
    bool TryAddRef();
    /// Forgets guid only while it still names expected: a CTypeInfo that is going away
    /// must not take its successor's entry with it.
    void RemoveTypeInfo(const OvxUtils::Guid& guid, const CTypeInfo* expected);
    /// The cached, live CTypeInfo of guid with one more reference, or null. Called with
    /// the lock held.
    CTypeInfo* TakeCachedTypeInfo(const OvxUtils::Guid& guid);
    HRESULT CreateTypeInfo(const OvxUtils::Guid& guid, CTypeInfo** result);
    CComPtr<ITypeInfo> ScanForName(const CString& name, TYPEKIND kind);

    using NameCache = std::map<CString, CComPtr<ITypeInfo>, NoCaseLess>;

    ITypeLib* m_pTypeLib;
    std::map<OvxUtils::Guid, CTypeInfo*> m_typeInfos;  ///< not counted: see RemoveTypeInfo
    std::map<TYPEKIND, NameCache> m_typeInfosByName;
    std::atomic<unsigned long> m_refCount{0};
};

}  // namespace OvxComponent
