// CTypeInfo: the shared type info wrapper, its counted lifetime and its name-to-DISPID
// cache.
#include "OvxComponent/automation/type_info.h"

#include "automation/ref_count.h"

#include "OvxComponent/automation/type_lib.h"
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <new>
#include <string_view>

namespace OvxComponent {

using OvxUtils::WriteLock;

CTypeInfo::CTypeInfo(const OvxUtils::Guid& guid, ITypeInfo* typeInfo, CTypeLib* typeLib)
    : m_guid(guid), m_pTypeInfo(typeInfo), m_pTypeLib(typeLib) {
    if (m_pTypeInfo) m_pTypeInfo->AddRef();
    if (m_pTypeLib) m_pTypeLib->AddRef();
}

// Its last Release has already taken it out of its CTypeLib's cache.
CTypeInfo::~CTypeInfo() {
    if (m_pTypeInfo) m_pTypeInfo->Release();
    if (m_pTypeLib) m_pTypeLib->Release();
    delete m_pNameCache.load(std::memory_order_relaxed);
}

void CTypeInfo::AddRef() { RefCount::Add(m_refCount); }

void CTypeInfo::Release() {
    if (!RefCount::Drop(m_refCount)) return;
    if (m_pTypeLib) m_pTypeLib->RemoveTypeInfo(m_guid, this);
    delete this;
}

bool CTypeInfo::TryAddRef() { return RefCount::TryAdd(m_refCount); }

unsigned long CTypeInfo::GetRefCount() const { return RefCount::Get(m_refCount); }

HRESULT CTypeInfo::GetTypeInfo(unsigned long, ITypeInfo** result) {
    if (!result) return E_POINTER;
    *result = m_pTypeInfo;
    if (m_pTypeInfo) m_pTypeInfo->AddRef();
    return S_OK;
}

HRESULT CTypeInfo::GetIDsOfNames(wchar_t** names, unsigned int count, unsigned long, long* dispids) {
    if (count > 0 && (!names || !dispids)) return E_POINTER;
    const HRESULT hr = GetNameCache();
    if (FAILED(hr)) return hr;
    if (count == 1 && names[0]) {
        const NameCache* cache = m_pNameCache.load(std::memory_order_acquire);
        const auto hit = cache->find(std::wstring_view(names[0]));
        if (hit != cache->end()) {
            dispids[0] = hit->second;
            return S_OK;
        }
    }
    if (!m_pTypeInfo) return E_FAIL;
    return m_pTypeInfo->GetIDsOfNames(names, count, dispids);
}

HRESULT CTypeInfo::Invoke(IDispatch* instance, long dispid, unsigned long, unsigned short flags,
                          DISPPARAMS* params, VARIANT* result, EXCEPINFO* excepInfo, unsigned int* argErr) {
    if (!m_pTypeInfo) return E_FAIL;
    return m_pTypeInfo->Invoke(instance, dispid, flags, params, result, excepInfo, argErr);
}

HRESULT CTypeInfo::GetNameCache() {
    if (m_pNameCache.load(std::memory_order_acquire)) return S_OK;
    WriteLock guard(*this);
    if (m_pNameCache.load(std::memory_order_relaxed)) return S_OK;
    auto* cache = new (std::nothrow) NameCache();
    if (!cache) return E_OUTOFMEMORY;
    FillNameCache(*cache);
    m_pNameCache.store(cache, std::memory_order_release);
    return S_OK;
}

void CTypeInfo::FillNameCache(NameCache& cache) const {
    if (!m_pTypeInfo) return;
    TYPEATTR* attr = nullptr;
    if (FAILED(m_pTypeInfo->GetTypeAttr(&attr))) return;
    const WORD functionCount = attr->cFuncs;
    for (WORD i = 0; i < functionCount; ++i) {
        FUNCDESC* desc = nullptr;
        if (FAILED(m_pTypeInfo->GetFuncDesc(i, &desc))) continue;
        ScopedBstr name;
        if (SUCCEEDED(m_pTypeInfo->GetDocumentation(desc->memid, name.put(), nullptr, nullptr, nullptr))) {
            try {
                cache.emplace(CString(name.View()), desc->memid);  // the first of get/put stays
            } catch (const std::bad_alloc&) {
                // A name left out is answered by ITypeInfo::GetIDsOfNames instead.
            }
        }
        m_pTypeInfo->ReleaseFuncDesc(desc);
    }
    m_pTypeInfo->ReleaseTypeAttr(attr);
}

}  // namespace OvxComponent
