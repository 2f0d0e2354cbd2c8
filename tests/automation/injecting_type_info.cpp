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
    return E_NOINTERFACE;
}

}  // namespace OvxTest
