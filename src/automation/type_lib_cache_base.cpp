// CTypeLibCacheBase: one type library loaded on first use and kept for the process.
#include "OvxComponent/automation/type_lib_cache_base.h"

#include "OvxComponent/automation/type_lib.h"

#include <utility>

namespace OvxComponent {

CTypeLibCacheBase::CTypeLibCacheBase(const CTypeLibCacheBase& other)
    : CTypeLibResLoader(other), m_pTypeLib(other.m_pTypeLib) {}

CTypeLibCacheBase& CTypeLibCacheBase::operator=(const CTypeLibCacheBase& other) {
    m_pTypeLib = other.m_pTypeLib;
    return *this;
}

CTypeLibCacheBase::~CTypeLibCacheBase() {
    if (CTypeLib* typeLib = std::exchange(m_pTypeLib, nullptr)) typeLib->Release();
}

HRESULT CTypeLibCacheBase::GetTypeLib(CTypeLib** result) const {
    if (!result) return E_POINTER;
    HRESULT hr = S_OK;
    if (!m_pTypeLib) {
        unsigned int index = 0;
        const HINSTANCE module = GetResourceInstance(index);
        hr = LoadTypeLibFromResource(module, index, &m_pTypeLib);
        if (FAILED(hr)) return hr;
    }
    *result = m_pTypeLib;
    if (m_pTypeLib) m_pTypeLib->AddRef();
    return hr;
}

}  // namespace OvxComponent
