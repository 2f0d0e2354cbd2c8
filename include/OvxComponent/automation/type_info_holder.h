/// \file
/// CTypeInfoHolder: the IDispatch of a host's automation class. The class keeps one holder
/// (for the GUID of its dispatch interface, with a type library loader) and forwards
/// GetTypeInfoCount, GetTypeInfo, GetIDsOfNames and Invoke to it.
///
/// The holder finds its CTypeInfo on the first dispatch call that needs it and keeps it
/// for its life; a failure (the loader's, or an interface the library does not have) is
/// returned and tried again on the next call. Calls may come on any thread.
#pragma once

#include "OvxComponent/platform/ovx_export.h"
#include "OvxComponent/platform/thread_lock.h"

#include <windows.h>
#include <oaidl.h>

#include <atomic>

namespace OvxComponent {

class CTypeInfo;
class ITypeLibLoader;

class OVX_API CTypeInfoHolder : public OvxUtils::ThreadLock {
public:
    /// loader is not owned and must outlive the holder (typically a static loader of the
    /// host module).
    CTypeInfoHolder(ITypeLibLoader* loader, const GUID& iid);
    ~CTypeInfoHolder() override;

    /// 1, without loading anything. E_POINTER when count is null.
    HRESULT GetTypeInfoCount(unsigned int* count);
    /// The interface's ITypeInfo with a reference. A loading failure comes first; then
    /// E_POINTER when result is null. lcid, which stands for the index and the locale of
    /// IDispatch::GetTypeInfo, is not used: one type info serves all locales.
    HRESULT GetTypeInfo(unsigned long lcid, ITypeInfo** result);
    /// As CTypeInfo::GetIDsOfNames; IDispatch's riid is dropped by the caller.
    HRESULT GetIDsOfNames(wchar_t** names, unsigned int count, unsigned long lcid, long* dispids);
    /// ITypeInfo::Invoke with instance (the caller's own IDispatch) as the object; E_FAIL
    /// when the type info is missing. IDispatch's riid is dropped by the caller.
    HRESULT Invoke(IDispatch* instance, long dispid, unsigned long lcid, unsigned short flags,
                   DISPPARAMS* params, VARIANT* result, EXCEPINFO* excepInfo, unsigned int* argErr);

private:
    HRESULT GetTI(unsigned long lcid);

    ITypeLibLoader* m_pLoader;  ///< not owned
    GUID m_guid;
    std::atomic<CTypeInfo*> m_pInfo{nullptr};  ///< one reference once set
};

}  // namespace OvxComponent
