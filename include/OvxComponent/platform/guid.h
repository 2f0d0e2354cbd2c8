// OvxUtils::Guid: a 16-byte identifier laid out as a Windows GUID.
#pragma once

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

class OVX_API Guid {
public:
    std::uint32_t Data1 = 0;
    std::uint16_t Data2 = 0;
    std::uint16_t Data3 = 0;
    std::array<std::uint8_t, 8> Data4{};

    // The all-zero value, which means "no identifier".
    Guid() = default;
    Guid(std::uint32_t d1, std::uint16_t d2, std::uint16_t d3, const std::array<std::uint8_t, 8>& d4)
        : Data1(d1), Data2(d2), Data3(d3), Data4(d4) {}
#if defined(_WIN32)
    Guid(const GUID& guid) { std::memcpy(this, &guid, sizeof(Guid)); }  // NOLINT: same layout
    operator GUID() const {                                             // NOLINT
        GUID out;
        std::memcpy(&out, this, sizeof(out));
        return out;
    }
#endif

    // A new random identifier (RFC 4122 version 4) from the operating system's random
    // source. Never the all-zero value. Throws std::runtime_error only when the system
    // offers no random bytes at all.
    static Guid Generate();

    // Accepts "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" or the same without braces, hex
    // digits in any case; anything else (other lengths, misplaced dashes, one brace,
    // blanks) gives no value.
    static std::optional<Guid> FromString(const CString& text);

    // Braced upper-case form, {6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}.
    CString ToString() const;

    bool IsNull() const { return *this == Guid(); }

    // Byte-wise order of the 16 bytes in memory (as memcmp orders them).
    friend std::strong_ordering operator<=>(const Guid& a, const Guid& b) {
        return std::memcmp(&a, &b, sizeof(Guid)) <=> 0;
    }
    friend bool operator==(const Guid& a, const Guid& b) { return std::memcmp(&a, &b, sizeof(Guid)) == 0; }
};

static_assert(sizeof(Guid) == 16, "Guid must have the 16-byte GUID layout");

}  // namespace OvxUtils

template <>
struct std::hash<OvxUtils::Guid> {
    std::size_t operator()(const OvxUtils::Guid& guid) const noexcept {
        std::uint64_t halves[2];
        std::memcpy(halves, &guid, sizeof(halves));
        return std::hash<std::uint64_t>{}(halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ull));
    }
};
