// InjectingTypeInfo.
#include "injecting_type_info.h"

namespace OvxTest {

HRESULT InjectingTypeInfo::QueryInterface(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITypeInfo)) {
        *object = static_cast<ITypeInfo*>(this);
        AddRef();
        return S_OK;
    }
    if (IsEqualIID(iid, IID_ITypeInfo2) && m_offerRealTypeInfo2) return m_real->QueryInterface(iid, object);
    return E_NOINTERFACE;
}

HRESULT InjectingTypeInfo::GetTypeAttr(TYPEATTR** attr) {
    if (FAILED(m_typeAttrResult)) return m_typeAttrResult;
    return m_real->GetTypeAttr(attr);
}

}  // namespace OvxTest
