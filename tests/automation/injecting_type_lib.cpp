// InjectingTypeLib: the calls it counts, and the list of types it shows instead of its own.
#include "injecting_type_lib.h"

namespace OvxTest {

HRESULT InjectingTypeLib::QueryInterface(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITypeLib)) {
        *object = static_cast<ITypeLib*>(this);
        AddRef();
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

UINT InjectingTypeLib::GetTypeInfoCount() {
    ++m_typeInfoCountCalls;
    return m_entries ? static_cast<UINT>(m_entries->size()) : m_real->GetTypeInfoCount();
}

HRESULT InjectingTypeLib::GetTypeInfo(UINT index, ITypeInfo** info) {
    if (!m_entries) return m_real->GetTypeInfo(index, info);
    if (index >= m_entries->size()) return TYPE_E_ELEMENTNOTFOUND;
    const int realIndex = (*m_entries)[index].realIndex;
    if (realIndex < 0) return TYPE_E_CANTLOADLIBRARY;
    return m_real->GetTypeInfo(static_cast<UINT>(realIndex), info);
}

HRESULT InjectingTypeLib::GetTypeInfoType(UINT index, TYPEKIND* kind) {
    if (!m_entries) return m_real->GetTypeInfoType(index, kind);
    if (index >= m_entries->size()) return TYPE_E_ELEMENTNOTFOUND;
    *kind = (*m_entries)[index].kind;
    return S_OK;
}

HRESULT InjectingTypeLib::GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) {
    ++m_typeInfoOfGuidCalls;
    if (FAILED(m_typeInfoOfGuidResult)) return m_typeInfoOfGuidResult;
    if (!m_typeInfoOfGuid) return m_real->GetTypeInfoOfGuid(guid, info);
    *info = m_typeInfoOfGuid;
    m_typeInfoOfGuid->AddRef();
    return S_OK;
}

HRESULT InjectingTypeLib::GetDocumentation(INT index, BSTR* name, BSTR* doc, DWORD* context, BSTR* file) {
    if (!m_entries) return m_real->GetDocumentation(index, name, doc, context, file);
    if (index < 0 || static_cast<size_t>(index) >= m_entries->size()) return TYPE_E_ELEMENTNOTFOUND;
    *name = SysAllocString((*m_entries)[static_cast<size_t>(index)].name.c_str());
    return S_OK;
}

}  // namespace OvxTest
