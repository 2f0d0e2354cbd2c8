// CTypeLibMultiCacheBase: several type libraries, each loaded on first use and kept.
#include "OvxComponent/automation/type_lib_multi_cache_base.h"

#include "OvxComponent/automation/type_lib.h"
#include "OvxComponent/automation/type_lib_res_loader.h"

#include <new>

namespace OvxComponent {

CTypeLibMultiCacheBase::CTypeLibMultiCacheBase(const CTypeLibMultiCacheBase& other) : m_cache(other.m_cache) {}

CTypeLibMultiCacheBase& CTypeLibMultiCacheBase::operator=(const CTypeLibMultiCacheBase& other) {
    if (this != &other) {
        m_cache.clear();
        m_cache = other.m_cache;
    }
    return *this;
}

CTypeLibMultiCacheBase::~CTypeLibMultiCacheBase() {
    for (const auto& [index, typeLib] : m_cache) {
        if (typeLib) typeLib->Release();
    }
}

HRESULT CTypeLibMultiCacheBase::GetTypeLib(unsigned int index, CTypeLib** result) const {
    if (!result) return E_POINTER;
    if (const auto hit = m_cache.find(index); hit != m_cache.end()) {
        *result = hit->second;
        if (*result) (*result)->AddRef();
        return S_OK;
    }
    const HINSTANCE module = GetResourceInstance(index);  // may change index
    const HRESULT hr = CTypeLibResLoader::LoadTypeLibFromResource(module, index, result);
    if (FAILED(hr)) return hr;
    bool cached = false;
    try {
        cached = m_cache.emplace(index, *result).second;
    } catch (const std::bad_alloc&) {
        if (*result) (*result)->Release();
        *result = nullptr;
        return E_OUTOFMEMORY;
    }
    // The loaded reference became the cache's; the caller gets one of its own. When the
    // changed index was cached already, the loaded reference is the caller's.
    if (cached && *result) (*result)->AddRef();
    return hr;
}

}  // namespace OvxComponent
