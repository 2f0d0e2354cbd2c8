/// \file
/// OvxUtils::Guid: a 16-byte identifier laid out as a Windows GUID.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>

#if defined(_WIN32)
#include <guiddef.h>
#endif

namespace OvxUtils {

/// A 128-bit identifier with the layout of the Windows GUID.
class OVX_API Guid {
public:
    ///@{
    /// The GUID's fields, as Windows lays them out.
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::array<std::uint8_t, 8> Data4{};
    ///@}

    /// The all-zero value, which means "no identifier".
    Guid() = default;
    /// The GUID with these fields.
    /// \param d1 Data1.
    /// \param d2 Data2.
    /// \param d3 Data3.
    /// \param d4 Data4.
    Guid(std::uint32_t d1, std::uint16_t d2, std::uint16_t d3, const std::array<std::uint8_t, 8>& d4)
        : Data1(d1), Data2(d2), Data3(d3), Data4(d4) {}
#if defined(_WIN32)
    /// The same identifier as a Windows GUID; implicit, since the layouts are one.
    /// \param guid The GUID.
    Guid(const GUID& guid) { std::memcpy(this, &guid, sizeof(Guid)); }  // NOLINT: same layout
    /// \return The identifier as a Windows GUID.
    operator GUID() const {                                             // NOLINT
        GUID out;
        std::memcpy(&out, this, sizeof(out));
        return out;
    }
#endif

    /// A new random identifier (RFC 4122 version 4) from the operating system's random
    /// source. Never the all-zero value. Throws std::runtime_error only when the system
    /// offers no random bytes at all.
    /// \return The new identifier.
    static Guid Generate();

    /// Accepts "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" or the same without braces, hex
    /// digits in any case; anything else (other lengths, misplaced dashes, one brace,
    /// blanks) gives no value.
    /// \param text The identifier's text.
    /// \return The identifier, or nothing.
    static std::optional<Guid> FromString(const CString& text);

    /// Braced upper-case form, {6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}.
    /// \return The identifier as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper case.
    CString ToString() const;

    /// Whether every field is zero.
    /// \return Whether every field is zero.
    bool IsNull() const { return *this == Guid(); }

    /// Byte-wise order of the 16 bytes in memory (as memcmp orders them).
    friend std::strong_ordering operator<=>(const Guid& a, const Guid& b) {
        return std::memcmp(&a, &b, sizeof(Guid)) <=> 0;
    }
    /// Whether the two are the same identifier.
    /// \param a The first identifier.
    /// \param b The second identifier.
    /// \return Whether they are equal.
    friend bool operator==(const Guid& a, const Guid& b) { return std::memcmp(&a, &b, sizeof(Guid)) == 0; }
};

static_assert(sizeof(Guid) == 16, "Guid must have the 16-byte GUID layout");

}  // namespace OvxUtils

/// \cond HASH_SPECIALIZATIONS
template <>
struct std::hash<OvxUtils::Guid> {
    std::size_t operator()(const OvxUtils::Guid& guid) const noexcept {
        std::uint64_t halves[2];
        std::memcpy(halves, &guid, sizeof(halves));
        return std::hash<std::uint64_t>{}(halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ull));
    }
};
/// \endcond
