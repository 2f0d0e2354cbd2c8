/// \file
/// CTypeInfoHolder: the IDispatch of a host's automation class. The class keeps one holder
/// (for the GUID of its dispatch interface, with a type library loader) and forwards
/// GetTypeInfoCount, GetTypeInfo, GetIDsOfNames and Invoke to it.
///
/// The holder finds its CTypeInfo on the first dispatch call that needs it and keeps it
/// for its life; a failure (the loader's, or an interface the library does not have) is
/// returned and tried again on the next call. Calls may come on any thread.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"
#include "OvxComponent/platform/thread_lock.h"

#include <windows.h>
#include <oaidl.h>

#include <atomic>

namespace OvxComponent {

class CTypeInfo;
class ITypeLibLoader;

/// What an IDispatch implementation delegates to: its interface's type info, loaded on
/// first use through a type library loader.
class OVX_API CTypeInfoHolder : public OvxUtils::ThreadLock {
public:
    /// loader is not owned and must outlive the holder (typically a static loader of the
    /// host module).
    /// \param loader Loads the type library.
    /// \param iid The interface whose type info is held.
    CTypeInfoHolder(ITypeLibLoader* loader, const GUID& iid);
    ~CTypeInfoHolder() override;

    /// 1, without loading anything. E_POINTER when count is null.
    /// \param count Receives 1.
    /// \return S_OK, or E_POINTER.
    HRESULT GetTypeInfoCount(unsigned int* count);
    /// The interface's ITypeInfo with a reference. A loading failure comes first; then
    /// E_POINTER when result is null. lcid, which stands for the index and the locale of
    /// IDispatch::GetTypeInfo, is not used: one type info serves all locales.
    /// \param lcid Not used.
    /// \param result Receives the type info.
    /// \return S_OK, the loading failure, or E_POINTER.
    HRESULT GetTypeInfo(unsigned long lcid, ITypeInfo** result);
    /// As CTypeInfo::GetIDsOfNames; IDispatch's riid is dropped by the caller.
    /// \param names The member's name, then its named arguments' names.
    /// \param count The number of names.
    /// \param lcid The locale; not used.
    /// \param dispids Receives one ID per name.
    /// \return S_OK, DISP_E_UNKNOWNNAME, or the failure.
    HRESULT GetIDsOfNames(wchar_t** names, unsigned int count, unsigned long lcid, long* dispids);
    /// ITypeInfo::Invoke with instance (the caller's own IDispatch) as the object; E_FAIL
    /// when the type info is missing. IDispatch's riid is dropped by the caller.
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
    HRESULT GetTI(unsigned long lcid);

    ITypeLibLoader* m_pLoader;  ///< not owned
    GUID m_guid;
    std::atomic<CTypeInfo*> m_pInfo{nullptr};  ///< one reference once set
};

}  // namespace OvxComponent
