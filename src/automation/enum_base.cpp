// CEnumBase: IEnumVARIANT over an element count and a copy of one element by position.
#include "OvxComponent/automation/enum_base.h"

namespace OvxComponent {

CEnumBase::~CEnumBase() = default;

HRESULT CEnumBase::InternalQueryInterface(REFIID iid, void** object) {
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IEnumVARIANT)) {
        *object = static_cast<IEnumVARIANT*>(this);
        AddRef();
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

HRESULT CEnumBase::Next(ULONG count, VARIANT* items, ULONG* fetched) {
    if (!items) return E_POINTER;
    if (count != 1 && !fetched) return E_POINTER;
    if (fetched) *fetched = 0;
    ULONG copied = 0;
    while (m_position < GetCount() && copied < count) {
        const HRESULT hr = GetItem(static_cast<std::size_t>(m_position), items[copied]);
        if (FAILED(hr)) {
            for (ULONG i = 0; i < copied; ++i) VariantClear(&items[i]);
            return hr;
        }
        ++m_position;
        ++copied;
    }
    if (fetched) *fetched = copied;
    return copied < count ? S_FALSE : S_OK;
}

HRESULT CEnumBase::Skip(ULONG count) {
    for (ULONG i = 0; i < count; ++i) {
        if (m_position >= GetCount()) return S_FALSE;
        ++m_position;
    }
    return S_OK;
}

HRESULT CEnumBase::Reset() {
    m_position = 0;
    return S_OK;
}

}  // namespace OvxComponent
