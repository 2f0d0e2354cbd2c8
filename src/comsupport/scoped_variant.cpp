// ScopedVariant: the VARIANT owner's copy and clearing.
#include "OvxComponent/comsupport/scoped_variant.h"

namespace OvxComponent {

ScopedVariant::ScopedVariant() noexcept { VariantInit(&m_value); }

ScopedVariant::ScopedVariant(ScopedVariant&& other) noexcept : m_value(other.m_value) {
    VariantInit(&other.m_value);
}

ScopedVariant& ScopedVariant::operator=(ScopedVariant&& other) noexcept {
    if (this != &other) {
        reset();
        m_value = other.m_value;
        VariantInit(&other.m_value);
    }
    return *this;
}

ScopedVariant::~ScopedVariant() { reset(); }

ScopedVariant ScopedVariant::Adopt(const VARIANT& value) noexcept {
    ScopedVariant owner;
    owner.m_value = value;
    return owner;
}

ScopedVariant ScopedVariant::Copy(const VARIANT& value, HRESULT* result) noexcept {
    ScopedVariant owner;
    // VariantCopy only reads its source, though its declaration does not say so.
    const HRESULT hr = VariantCopy(&owner.m_value, const_cast<VARIANT*>(&value));
    if (result) *result = hr;
    return owner;
}

VARIANT* ScopedVariant::put() noexcept {
    reset();
    return &m_value;
}

void ScopedVariant::reset() noexcept {
    VariantClear(&m_value);
    VariantInit(&m_value);
}

}  // namespace OvxComponent
