/// \file
/// CTypeInfo: the shared wrapper of one interface's ITypeInfo in one type library, which
/// answers GetIDsOfNames for single names from a case-insensitive cache of the
/// interface's function names.
///
/// CTypeLib::GetTypeInfo hands out the one CTypeInfo per interface GUID, with a reference
/// for the caller; the last Release removes it from its CTypeLib and destroys it. While it
/// lives it holds its CTypeLib. Dispatch calls may come on any thread: the name cache is
/// built once, under the object's write lock, and read without a lock afterwards.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/automation/no_case_less.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/ovx_export.h"
#include "OvxComponent/platform/thread_lock.h"

#include <windows.h>
#include <oaidl.h>

#include <atomic>
#include <map>

namespace OvxComponent {

class CTypeLib;

/// A counted wrapper of one interface's ITypeInfo, with a name cache for GetIDsOfNames.
class OVX_API CTypeInfo : public OvxUtils::ThreadLock {
public:
    /// Takes a reference on typeInfo and on typeLib when they are non-null. The count
    /// starts at 0.
    /// \param guid The interface ID.
    /// \param typeInfo The interface's type info, or null.
    /// \param typeLib The library that caches this object, or null.
    CTypeInfo(const OvxUtils::Guid& guid, ITypeInfo* typeInfo, CTypeLib* typeLib);
    CTypeInfo(const CTypeInfo&) = delete;
    CTypeInfo& operator=(const CTypeInfo&) = delete;

    /// Takes a reference.
    void AddRef();
    /// The last Release removes the object from its CTypeLib and destroys it.
    /// Ends a reference.
    void Release();
    /// The current count, for diagnostics; it may change as soon as it is read.
    /// \return The count.
    unsigned long GetRefCount() const;

    /// The wrapped ITypeInfo with a reference (null, and S_OK, when there is none).
    /// E_POINTER when result is null. The first argument is not used.
    /// \param result Receives the type info.
    /// \return S_OK, or E_POINTER for a null result.
    HRESULT GetTypeInfo(unsigned long, ITypeInfo** result);

    /// A single name is answered from the name cache, ignoring case, without a COM call
    /// or an allocation. Several names (a member and its named arguments) and names the
    /// cache does not hold go to ITypeInfo::GetIDsOfNames, whose misses
    /// (DISP_E_UNKNOWNNAME) are not remembered. E_FAIL when such a call is needed and there
    /// is no ITypeInfo; E_OUTOFMEMORY when the cache cannot be made. lcid is not used.
    /// \param names The member's name, then its named arguments' names.
    /// \param count The number of names.
    /// \param lcid The locale; not used.
    /// \param dispids Receives one ID per name.
    /// \return S_OK, DISP_E_UNKNOWNNAME, or the failure.
    HRESULT GetIDsOfNames(wchar_t** names, unsigned int count, unsigned long lcid, long* dispids);

    /// ITypeInfo::Invoke on instance; E_FAIL without an ITypeInfo. lcid is not used.
    /// \param instance The object to call.
    /// \param dispid The member's ID.
    /// \param lcid The locale; not used.
    /// \param flags DISPATCH_ flags.
    /// \param params The arguments.
    /// \param result Receives the result, or null.
    /// \param excepInfo Receives an exception's description, or null.
    /// \param argErr Receives the index of a bad argument, or null.
    /// \return The call's result.
    HRESULT Invoke(IDispatch* instance, long dispid, unsigned long lcid, unsigned short flags,
                   DISPPARAMS* params, VARIANT* result, EXCEPINFO* excepInfo, unsigned int* argErr);

private:
    friend class CTypeLib;

    using NameCache = std::map<CString, DISPID, NoCaseLess>;

    ~CTypeInfo() override;

    bool TryAddRef();
    /// Builds the name cache on first use. The cache holds the names of this interface's
    /// functions (not its variables, not inherited members); a property's get and put
    /// functions share one entry. When the type attributes cannot be read the cache stays
    /// empty, and every name goes to ITypeInfo.
    HRESULT GetNameCache();
    void FillNameCache(NameCache& cache) const;

    const OvxUtils::Guid m_guid;
    ITypeInfo* m_pTypeInfo;
    CTypeLib* m_pTypeLib;
    /// Published only once it is filled, so that readers need no lock.
    std::atomic<NameCache*> m_pNameCache{nullptr};
    std::atomic<unsigned long> m_refCount{0};
};

}  // namespace OvxComponent
