/// \file
/// ScopedVariant: owns one VARIANT and clears it with VariantClear.
///
/// Moving hands the contents over and leaves the source VT_EMPTY, so that a vector of
/// ScopedVariant can grow without copying what its elements point to.
#pragma once

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>
#include <oleauto.h>

namespace OvxComponent {

class OVX_API ScopedVariant {
public:
    ScopedVariant() noexcept;
    ScopedVariant(ScopedVariant&& other) noexcept;
    ScopedVariant& operator=(ScopedVariant&& other) noexcept;
    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;
    ~ScopedVariant();

    /// Takes over the bits of value as they are: the caller must not clear value afterwards.
    static ScopedVariant Adopt(const VARIANT& value) noexcept;
    /// A deep copy (VariantCopy); the copy's result is left in *result when given.
    static ScopedVariant Copy(const VARIANT& value, HRESULT* result = nullptr) noexcept;

    VARIANT* get() noexcept { return &m_value; }
    const VARIANT* get() const noexcept { return &m_value; }
    VARTYPE Type() const noexcept { return m_value.vt; }
    /// Clears the current value and hands out the empty VARIANT for an out-parameter.
    VARIANT* put() noexcept;
    void reset() noexcept;

private:
    VARIANT m_value;
};

/// An array of ScopedVariant can stand for an array of VARIANT (IEnumVARIANT::Next).
static_assert(sizeof(ScopedVariant) == sizeof(VARIANT));

}  // namespace OvxComponent
