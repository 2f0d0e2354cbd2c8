/// \file
/// ScopedBstr: owns one BSTR and frees it with SysFreeString.
#pragma once

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>
#include <oleauto.h>

#include <string_view>

namespace OvxComponent {

class OVX_API ScopedBstr {
public:
    ScopedBstr() noexcept = default;
    /// A new BSTR holding text; empty (null) when the system has no memory for it.
    explicit ScopedBstr(std::wstring_view text) noexcept;
    /// Takes over a BSTR that the caller owns.
    static ScopedBstr Adopt(BSTR bstr) noexcept;
    ScopedBstr(ScopedBstr&& other) noexcept;
    ScopedBstr& operator=(ScopedBstr&& other) noexcept;
    ScopedBstr(const ScopedBstr&) = delete;
    ScopedBstr& operator=(const ScopedBstr&) = delete;
    ~ScopedBstr();

    BSTR get() const noexcept { return m_bstr; }
    /// Frees the current string and hands out the empty slot for an out-parameter.
    BSTR* put() noexcept;
    void reset() noexcept;
    /// Gives the string to the caller, who frees it.
    [[nodiscard]] BSTR detach() noexcept;

    /// The text without its terminator; a null BSTR reads as empty.
    std::wstring_view View() const noexcept;

private:
    BSTR m_bstr = nullptr;
};

}  // namespace OvxComponent
