// CVariantEnum and its creatable object.
#include "OvxComponent/automation/variant_enum.h"

#include "component/host_app_lock.h"
#include "comsupport/com_object_app_lock.h"

#include <new>
#include <utility>

namespace OvxComponent {
namespace {

using VariantEnumObject = CComObjectAppLock<CVariantEnum>;

}  // namespace

CVariantEnum::~CVariantEnum() = default;

HRESULT CVariantEnum::CreateObjectInstance(CVariantEnum** result) {
    VariantEnumObject* object = nullptr;
    const HRESULT hr = VariantEnumObject::CreateInstance(result ? &object : nullptr);
    if (result) {
        *result = object;
        if (object) object->AddRef();
    }
    return hr;
}

CVariantEnum* CVariantEnum::CreateObjectInstance() {
    CVariantEnum* result = nullptr;
    CreateObjectInstance(&result);
    return result;
}

void CVariantEnum::AddObject(IDispatch* object, bool addRef) {
    if (addRef && object) object->AddRef();
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_DISPATCH;
    value.pdispVal = object;
    m_items.push_back(ScopedVariant::Adopt(value));
}

void CVariantEnum::AddVariant(VARIANT& value, bool copy) {
    if (!copy) {
        m_items.push_back(ScopedVariant::Adopt(value));
        return;
    }
    HRESULT hr = S_OK;
    ScopedVariant item = ScopedVariant::Copy(value, &hr);
    if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
    m_items.push_back(std::move(item));
}

HRESULT CVariantEnum::Clone(IEnumVARIANT** result) {
    if (!result) return E_POINTER;
    *result = nullptr;
    CVariantEnum* clone = nullptr;
    if (FAILED(CreateObjectInstance(&clone))) return E_OUTOFMEMORY;
    HRESULT hr = S_OK;
    try {
        clone->m_items.reserve(m_items.size());
        for (const ScopedVariant& item : m_items) {
            clone->m_items.push_back(ScopedVariant::Copy(*item.get(), &hr));
            if (FAILED(hr)) break;
        }
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    if (FAILED(hr)) {
        clone->Release();
        return hr;
    }
    *result = clone;
    return S_OK;
}

std::size_t CVariantEnum::GetCount() const { return m_items.size(); }

HRESULT CVariantEnum::GetItem(std::size_t position, VARIANT& out) {
    if (position >= m_items.size()) return E_FAIL;
    return VariantCopy(&out, m_items[position].get());
}

}  // namespace OvxComponent
