/// \file
/// OvxUtils::Version and OvxUtils::VersionRange: dotted sequences of 32-bit numbers.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <compare>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <vector>

namespace OvxUtils {

/// A version: a list of numbers, compared number by number ("1.2" equals "1.2.0").
class OVX_API Version {
public:
    Version() = default;
    /// A version of these components.
    /// \param components The numbers, most significant first.
    Version(std::initializer_list<std::int32_t> components) : m_components(components) {}
    /// A version of these components.
    /// \param components The numbers, most significant first.
    explicit Version(std::vector<std::int32_t> components) : m_components(std::move(components)) {}

    /// Lenient parse, as metadata setters use it: the text is split at '.', empty pieces
    /// dropped and blanks trimmed, and each piece read with String::IntFromString, so
    /// "1.x.3" gives 1.0.3 and "" gives a version without components.
    /// \param text The version text.
    /// \return The version; never fails.
    static Version Parse(const CString& text);
    /// Strict parse: one or more pieces separated by single dots, each a non-negative
    /// decimal number within the 32-bit range; anything else gives no value.
    /// \param text The version text.
    /// \return The version, or nothing.
    static std::optional<Version> TryParse(const CString& text);

    /// Components as decimal numbers joined by "."; a version without components is "0".
    /// \return The components joined by ".".
    CString ToString() const;

    /// The numbers.
    /// \return The numbers, most significant first.
    const std::vector<std::int32_t>& Components() const { return m_components; }
    /// Whether the version has no component.
    /// \return Whether the version has no component.
    bool IsEmpty() const { return m_components.empty(); }

    /// Component by component from the first, as signed 32-bit numbers, a missing
    /// component counting as 0: 1.2 and 1.2.0 are equal.
    /// \param a The first version.
    /// \param b The second version.
    /// \return Below 0, 0 or above 0 as a is below, equal to or above b.
    static int Compare(const Version& a, const Version& b);
    /// Equality by Compare.
    /// \param a The first version.
    /// \param b The second version.
    /// \return Whether Compare finds them equal.
    friend bool operator==(const Version& a, const Version& b) { return Compare(a, b) == 0; }
    /// Order by Compare.
    /// \param a The first version.
    /// \param b The second version.
    /// \return How a orders against b.
    friend std::strong_ordering operator<=>(const Version& a, const Version& b) {
        return Compare(a, b) <=> 0;
    }

private:
    std::vector<std::int32_t> m_components;
};

/// A minimum and a maximum version, either of which may be absent.
struct VersionRange {
    /// The lowest version inside the range (inclusive); none: no lower bound.
    std::optional<Version> min;
    /// The bound above the range (exclusive); none: no upper bound.
    std::optional<Version> max;

    /// Equal when both bounds are.
    friend bool operator==(const VersionRange&, const VersionRange&) = default;
};

}  // namespace OvxUtils
