// OvxUtils::Version and OvxUtils::VersionRange: dotted sequences of 32-bit numbers.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <compare>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

namespace OvxUtils {

class OVX_API Version {
public:
    Version() = default;
    Version(std::initializer_list<std::int32_t> components) : m_components(components) {}
    explicit Version(std::vector<std::int32_t> components) : m_components(std::move(components)) {}

    // Lenient parse, as metadata setters use it: the text is split at '.', empty pieces
    // dropped and blanks trimmed, and each piece read with String::IntFromString, so
    // "1.x.3" gives 1.0.3 and "" gives a version without components.
    static Version Parse(const CString& text);
    // Strict parse: one or more pieces separated by single dots, each a non-negative
    // decimal number within the 32-bit range; anything else gives no value.
    static std::optional<Version> TryParse(const CString& text);

    // Components as decimal numbers joined by "."; a version without components is "0".
    CString ToString() const;

    const std::vector<std::int32_t>& Components() const { return m_components; }
    bool IsEmpty() const { return m_components.empty(); }

    // Component by component from the first, as signed 32-bit numbers, a missing
    // component counting as 0: 1.2 and 1.2.0 are equal.
    static int Compare(const Version& a, const Version& b);
    friend bool operator==(const Version& a, const Version& b) { return Compare(a, b) == 0; }
    friend std::strong_ordering operator<=>(const Version& a, const Version& b) {
        return Compare(a, b) <=> 0;
    }

private:
    std::vector<std::int32_t> m_components;
};

// A minimum and a maximum version, either of which may be absent.
struct VersionRange {
    std::optional<Version> min;
    std::optional<Version> max;

    friend bool operator==(const VersionRange&, const VersionRange&) = default;
};

}  // namespace OvxUtils
