/// \file
/// ScopedVariant: owns one VARIANT and clears it with VariantClear.
///
/// Moving hands the contents over and leaves the source VT_EMPTY, so that a vector of
/// ScopedVariant can grow without copying what its elements point to.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>
#include <oleauto.h>

namespace OvxComponent {

/// Owns a VARIANT and clears it with VariantClear.
class OVX_API ScopedVariant {
public:
    /// An empty value (VT_EMPTY).
    ScopedVariant() noexcept;
    /// Takes over the other's value.
    /// \param other The value to move from; VT_EMPTY afterwards.
    ScopedVariant(ScopedVariant&& other) noexcept;
    /// Clears the current value and takes over the other's.
    /// \param other The value to move from; VT_EMPTY afterwards.
    /// \return This value.
    ScopedVariant& operator=(ScopedVariant&& other) noexcept;
    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;
    ~ScopedVariant();

    /// Takes over the bits of value as they are: the caller must not clear value afterwards.
    /// \param value The value whose bits are taken over.
    /// \return Its owner.
    static ScopedVariant Adopt(const VARIANT& value) noexcept;
    /// A deep copy (VariantCopy); the copy's result is left in *result when given.
    /// \param value The value to copy.
    /// \param result Receives VariantCopy's result, or null.
    /// \return The copy; VT_EMPTY when the copy failed.
    static ScopedVariant Copy(const VARIANT& value, HRESULT* result = nullptr) noexcept;

    /// \return The value, still owned here.
    VARIANT* get() noexcept { return &m_value; }
    /// \return The value, still owned here.
    const VARIANT* get() const noexcept { return &m_value; }
    /// \return The value's type.
    VARTYPE Type() const noexcept { return m_value.vt; }
    /// Clears the current value and hands out the empty VARIANT for an out-parameter.
    /// \return The VARIANT, empty.
    VARIANT* put() noexcept;
    /// Clears the value to VT_EMPTY.
    void reset() noexcept;

private:
    VARIANT m_value;
};

/// An array of ScopedVariant can stand for an array of VARIANT (IEnumVARIANT::Next).
static_assert(sizeof(ScopedVariant) == sizeof(VARIANT));

}  // namespace OvxComponent
