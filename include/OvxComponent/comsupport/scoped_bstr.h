/// \file
/// ScopedBstr: owns one BSTR and frees it with SysFreeString.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>
#include <oleauto.h>

#include <string_view>

namespace OvxComponent {

/// Owns a BSTR and frees it with SysFreeString.
class OVX_API ScopedBstr {
public:
    ScopedBstr() noexcept = default;
    /// A new BSTR holding text; empty (null) when the system has no memory for it.
    /// \param text The string's text.
    explicit ScopedBstr(std::wstring_view text) noexcept;
    /// Takes over a BSTR that the caller owns.
    /// \param bstr The string, or null.
    /// \return Its owner.
    static ScopedBstr Adopt(BSTR bstr) noexcept;
    /// Takes over the other's string.
    /// \param other The string to move from; empty afterwards.
    ScopedBstr(ScopedBstr&& other) noexcept;
    /// Frees the current string and takes over the other's.
    /// \param other The string to move from; empty afterwards.
    /// \return This string.
    ScopedBstr& operator=(ScopedBstr&& other) noexcept;
    ScopedBstr(const ScopedBstr&) = delete;
    ScopedBstr& operator=(const ScopedBstr&) = delete;
    ~ScopedBstr();

    /// \return The string, still owned here; or null.
    BSTR get() const noexcept { return m_bstr; }
    /// Frees the current string and hands out the empty slot for an out-parameter.
    /// \return The slot, empty.
    BSTR* put() noexcept;
    /// Frees the string; empty afterwards.
    void reset() noexcept;
    /// Gives the string to the caller, who frees it.
    /// \return The string, or null.
    [[nodiscard]] BSTR detach() noexcept;

    /// The text without its terminator; a null BSTR reads as empty.
    /// \return The text, valid while the string is held.
    std::wstring_view View() const noexcept;

private:
    BSTR m_bstr = nullptr;
};

}  // namespace OvxComponent
