// CTypeInfoHolder: IDispatch for an automation object, answered from one shared CTypeInfo.
#include "OvxComponent/automation/type_info_holder.h"

#include "OvxComponent/automation/type_info.h"
#include "OvxComponent/automation/type_lib.h"
#include "OvxComponent/automation/type_lib_loader.h"

namespace OvxComponent {

CTypeInfoHolder::CTypeInfoHolder(ITypeLibLoader* loader, const GUID& iid) : m_pLoader(loader), m_guid(iid) {}

CTypeInfoHolder::~CTypeInfoHolder() {
    if (CTypeInfo* info = m_pInfo.load(std::memory_order_acquire)) info->Release();
}

HRESULT CTypeInfoHolder::GetTypeInfoCount(unsigned int* count) {
    if (!count) return E_POINTER;
    *count = 1;
    return S_OK;
}

HRESULT CTypeInfoHolder::GetTypeInfo(unsigned long lcid, ITypeInfo** result) {
    const HRESULT hr = GetTI(lcid);
    if (FAILED(hr)) return hr;
    if (!result) return E_POINTER;
    return m_pInfo.load(std::memory_order_acquire)->GetTypeInfo(0, result);
}

HRESULT CTypeInfoHolder::GetIDsOfNames(wchar_t** names, unsigned int count, unsigned long lcid, long* dispids) {
    const HRESULT hr = GetTI(lcid);
    if (FAILED(hr)) return hr;
    return m_pInfo.load(std::memory_order_acquire)->GetIDsOfNames(names, count, lcid, dispids);
}

HRESULT CTypeInfoHolder::Invoke(IDispatch* instance, long dispid, unsigned long lcid, unsigned short flags,
                                DISPPARAMS* params, VARIANT* result, EXCEPINFO* excepInfo, unsigned int* argErr) {
    const HRESULT hr = GetTI(lcid);
    if (FAILED(hr)) return hr;
    return m_pInfo.load(std::memory_order_acquire)
        ->Invoke(instance, dispid, lcid, flags, params, result, excepInfo, argErr);
}

HRESULT CTypeInfoHolder::GetTI(unsigned long) {
    if (m_pInfo.load(std::memory_order_acquire)) return S_OK;
    OvxUtils::WriteLock guard(*this);
    if (m_pInfo.load(std::memory_order_relaxed)) return S_OK;
    CTypeLib* typeLib = nullptr;
    HRESULT hr = m_pLoader->GetTypeLib(&typeLib);
    if (FAILED(hr)) return hr;
    if (!typeLib) return E_OUTOFMEMORY;  // a loader may succeed without a wrapper when memory ran out
    CTypeInfo* info = nullptr;
    hr = typeLib->GetTypeInfo(m_guid, &info);
    typeLib->Release();  // the CTypeInfo holds the library from now on
    if (SUCCEEDED(hr)) m_pInfo.store(info, std::memory_order_release);
    return hr;
}

}  // namespace OvxComponent
