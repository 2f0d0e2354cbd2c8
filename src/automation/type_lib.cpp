// CTypeLib: the shared type library wrapper, its counted lifetime and its cache of type
// infos.
//
// A count that has reached zero is final: TryAddRef refuses such an object, so a wrapper
// (or a CTypeInfo) that another thread is destroying is never handed out again; the
// lookups replace its cache entry with a new object instead, and the dying object removes
// its entry only while the entry still names it.
#include "OvxComponent/automation/type_lib.h"

#include "automation/ref_count.h"

#include "OvxComponent/automation/type_info.h"
#include "OvxComponent/automation/type_lib_map.h"
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <new>
#include <utility>

namespace OvxComponent {
namespace {

using OvxUtils::ReadLock;
using OvxUtils::WriteLock;

// Automation prefers the ITypeInfo that also offers ITypeInfo2; when that is a different
// object, it replaces the one the library gave.
void PreferTypeInfo2(CComPtr<ITypeInfo>& typeInfo) {
    CComPtr<ITypeInfo2> typeInfo2;
    if (FAILED(typeInfo.QueryInterface(IID_ITypeInfo2, typeInfo2)) || !typeInfo2) return;
    if (!typeInfo2.IsSameObject(typeInfo.get())) typeInfo = CComPtr<ITypeInfo>(typeInfo2.get());
}

}  // namespace

CTypeLib::CTypeLib(ITypeLib* typeLib) : m_pTypeLib(typeLib) {
    if (m_pTypeLib) m_pTypeLib->AddRef();
}

CTypeLib::~CTypeLib() {
    if (m_pTypeLib) m_pTypeLib->Release();
}

void CTypeLib::AddRef() { RefCount::Add(m_refCount); }

void CTypeLib::Release() {
    if (!RefCount::Drop(m_refCount)) return;
    OvxUtils::Singleton<CTypeLibMap>::GetInstance().RemoveMapEntry(m_pTypeLib, this);
    delete this;
}

bool CTypeLib::TryAddRef() { return RefCount::TryAdd(m_refCount); }

unsigned long CTypeLib::GetRefCount() const { return RefCount::Get(m_refCount); }

ITypeLib* CTypeLib::GetITypeLib() const { return m_pTypeLib; }

HRESULT CTypeLib::GetTypeInfo(const OvxUtils::Guid& guid, CTypeInfo** result) {
    if (!result) return E_POINTER;
    {
        ReadLock guard(*this);
        if (CTypeInfo* cached = TakeCachedTypeInfo(guid)) {
            *result = cached;
            return S_OK;
        }
    }
    WriteLock guard(*this);
    if (CTypeInfo* cached = TakeCachedTypeInfo(guid)) {  // another thread may have made it
        *result = cached;
        return S_OK;
    }
    return CreateTypeInfo(guid, result);
}

CTypeInfo* CTypeLib::TakeCachedTypeInfo(const OvxUtils::Guid& guid) {
    const auto found = m_typeInfos.find(guid);
    return found != m_typeInfos.end() && found->second->TryAddRef() ? found->second : nullptr;
}

HRESULT CTypeLib::CreateTypeInfo(const OvxUtils::Guid& guid, CTypeInfo** result) {
    if (!m_pTypeLib) return E_FAIL;
    CComPtr<ITypeInfo> typeInfo;
    const GUID iid = guid;
    const HRESULT hr = m_pTypeLib->GetTypeInfoOfGuid(iid, typeInfo.put());
    if (FAILED(hr)) return hr;
    PreferTypeInfo2(typeInfo);

    *result = nullptr;
    CTypeInfo* created = new (std::nothrow) CTypeInfo(guid, typeInfo.get(), this);
    if (!created) return E_OUTOFMEMORY;
    try {
        m_typeInfos.insert_or_assign(guid, created);  // replaces an entry that is going away
    } catch (const std::bad_alloc&) {
        delete created;
        return E_OUTOFMEMORY;
    }
    created->AddRef();
    *result = created;
    return S_OK;
}

void CTypeLib::RemoveTypeInfo(const OvxUtils::Guid& guid) {
    WriteLock guard(*this);
    m_typeInfos.erase(guid);
}

void CTypeLib::RemoveTypeInfo(const OvxUtils::Guid& guid, const CTypeInfo* expected) {
    WriteLock guard(*this);
    const auto found = m_typeInfos.find(guid);
    if (found != m_typeInfos.end() && found->second == expected) m_typeInfos.erase(found);
}

CComPtr<ITypeInfo> CTypeLib::FindTypeInfoByName(CString name, TYPEKIND kind) {
    {
        ReadLock guard(*this);
        const auto names = m_typeInfosByName.find(kind);
        if (names != m_typeInfosByName.end()) {
            const auto hit = names->second.find(name);
            if (hit != names->second.end()) return hit->second;
        }
    }
    WriteLock guard(*this);
    NameCache* names = nullptr;
    try {
        names = &m_typeInfosByName[kind];  // stays, even when nothing is found
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    if (const auto hit = names->find(name); hit != names->end()) return hit->second;

    CComPtr<ITypeInfo> found = ScanForName(name, kind);
    if (found) {
        try {
            names->emplace(std::move(name), found);
        } catch (const std::bad_alloc&) {  // found all the same, only not remembered
        }
    }
    return found;
}

CComPtr<ITypeInfo> CTypeLib::ScanForName(const CString& name, TYPEKIND kind) {
    if (!m_pTypeLib) return nullptr;
    const int count = static_cast<int>(m_pTypeLib->GetTypeInfoCount());
    for (int i = 0; i < count; ++i) {
        const UINT index = static_cast<UINT>(i);
        TYPEKIND indexKind;
        if (FAILED(m_pTypeLib->GetTypeInfoType(index, &indexKind)) || indexKind != kind) continue;
        ScopedBstr typeName;
        if (FAILED(m_pTypeLib->GetDocumentation(i, typeName.put(), nullptr, nullptr, nullptr))) continue;
        if (NoCaseLess::Compare(name.View(), typeName.View()) != 0) continue;
        CComPtr<ITypeInfo> typeInfo;
        // A match the library cannot open does not end the search: a later type may bear
        // the same name.
        if (SUCCEEDED(m_pTypeLib->GetTypeInfo(index, typeInfo.put()))) return typeInfo;
    }
    return nullptr;
}

}  // namespace OvxComponent
