/// \file
/// CString: the wide string of the whole component.
///
/// It holds UTF-16 code units on every platform, so ordering, case-insensitive
/// comparison and the bytes written to logs are the same on Linux and Windows. On
/// Windows the unit type is wchar_t, so a CString passes to and from Win32 calls
/// without conversion; elsewhere it is char16_t.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

/// A text of 16-bit code units (UTF-16), the string type of the whole interface.
class OVX_API CString {
public:
#if defined(_WIN32)
    /// The code unit: wchar_t on Windows, char16_t elsewhere.
    using XCHAR = wchar_t;
#else
    /// The code unit: wchar_t on Windows, char16_t elsewhere.
    using XCHAR = char16_t;
#endif
    /// The standard string that holds the units.
    using StringType = std::basic_string<XCHAR>;
    /// A view of the units.
    using ViewType = std::basic_string_view<XCHAR>;
    static_assert(sizeof(XCHAR) == 2, "CString needs 16-bit code units");

    /// An empty text.
    CString() = default;
    /// A copy of UTF-16 text; implicit, so that u"..." literals read naturally.
    /// \param text NUL-terminated UTF-16 text.
    CString(const char16_t* text);  // NOLINT: implicit
    /// A copy of UTF-16 text.
    /// \param text The units to copy.
    CString(std::u16string_view text);
#if defined(_WIN32)
    /// A copy of wide text, as Win32 calls give it; implicit, as the UTF-16 form.
    /// \param text NUL-terminated wide text.
    CString(const wchar_t* text);  // NOLINT: implicit
    /// A copy of wide text.
    /// \param text The units to copy.
    CString(std::wstring_view text);
#endif
    /// A copy of length units.
    /// \param units The first unit.
    /// \param length The number of units.
    CString(const XCHAR* units, int length);
    /// Takes over units.
    /// \param units The units.
    explicit CString(StringType&& units) noexcept : m_str(std::move(units)) {}
    /// count copies of unit.
    /// \param count The number of copies.
    /// \param unit The unit to repeat.
    CString(int count, XCHAR unit);

    /// UTF-8 in; malformed input decodes as U+FFFD per bad sequence.
    /// \param utf8 The UTF-8 text.
    /// \return The text.
    static CString FromUtf8(std::string_view utf8);
    /// \return The text as UTF-8; lone surrogates as U+FFFD.
    std::string ToUtf8() const;

    /// \return The number of code units.
    int GetLength() const { return static_cast<int>(m_str.size()); }
    /// \return Whether the text has no unit.
    bool IsEmpty() const { return m_str.empty(); }
    /// Removes every unit.
    void Empty() { m_str.clear(); }
    /// Makes room for units.
    /// \param capacity The number of units to make room for.
    void Reserve(int capacity) { m_str.reserve(static_cast<std::size_t>(capacity)); }
    /// \return The units, NUL-terminated; valid until the text changes.
    const XCHAR* GetString() const { return m_str.c_str(); }
    /// \param index A unit's index, below GetLength().
    /// \return The unit at index.
    XCHAR GetAt(int index) const { return m_str[static_cast<std::size_t>(index)]; }
    /// \param index A unit's index, below GetLength().
    /// \return The unit at index.
    XCHAR operator[](int index) const { return GetAt(index); }
    /// \return A view of the units; valid until the text changes.
    ViewType View() const { return m_str; }
    /// \return The standard string that holds the units.
    const StringType& Str() const { return m_str; }

    /// Ordinal comparison of the UTF-16 code units.
    /// \param other The text to compare with.
    /// \return Below 0, 0 or above 0 as this text is before, equal to or after other.
    int Compare(const CString& other) const;
    /// Ordinal comparison after simple Unicode case folding (the one-to-one mappings of
    /// CaseFolding.txt, status C and S), code point by code point, independent of any
    /// locale. Strings that differ only in case compare equal.
    /// \param other The text to compare with.
    /// \return Below 0, 0 or above 0, as Compare.
    int CompareNoCase(const CString& other) const { return CompareNoCase(View(), other.View()); }
    /// The same comparison of plain UTF-16 text, for lookups that have no CString at hand.
    /// \param a The first text.
    /// \param b The second text.
    /// \return Below 0, 0 or above 0, as Compare.
    static int CompareNoCase(ViewType a, ViewType b) noexcept;

    /// Appends text.
    /// \param other The text to append.
    /// \return This text.
    CString& operator+=(const CString& other);
    /// Appends a unit.
    /// \param unit The unit to append.
    /// \return This text.
    CString& operator+=(XCHAR unit);
    /// Appends length units.
    /// \param units The first unit.
    /// \param length The number of units.
    void Append(const XCHAR* units, int length);

    /// Finds text.
    /// \param needle The text to find.
    /// \param start The index to search from.
    /// \return The index of the first occurrence at or after start, or -1.
    int Find(const CString& needle, int start = 0) const;
    /// Finds a unit.
    /// \param unit The unit to find.
    /// \param start The index to search from.
    /// \return The index of the first occurrence at or after start, or -1.
    int Find(XCHAR unit, int start = 0) const;
    /// Finds a unit from the end.
    /// \param unit The unit to find.
    /// \return The index of the last occurrence of unit, or -1.
    int ReverseFind(XCHAR unit) const;
    /// \param prefix The text to look for.
    /// \return Whether the text begins with prefix, unit for unit.
    bool StartsWith(const CString& prefix) const;
    /// \param suffix The text to look for.
    /// \return Whether the text ends with suffix, unit for unit.
    bool EndsWith(const CString& suffix) const;

    /// A part of the text; out-of-range counts are clamped.
    /// \param count The number of units.
    /// \return The first count units.
    CString Left(int count) const;
    /// A part of the text; out-of-range counts are clamped.
    /// \param count The number of units.
    /// \return The last count units.
    CString Right(int count) const;
    /// A part of the text; an out-of-range start is clamped.
    /// \param first The index of the first unit.
    /// \return The units from first on.
    CString Mid(int first) const;
    /// A part of the text; out-of-range values are clamped.
    /// \param first The index of the first unit.
    /// \param count The number of units.
    /// \return count units from first on.
    CString Mid(int first, int count) const;

    /// Equality by code units.
    /// \param a The first text.
    /// \param b The second text.
    /// \return Whether the two have the same units.
    friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
    /// Order by code units.
    /// \param a The first text.
    /// \param b The second text.
    /// \return How a orders against b.
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) {
        return a.m_str <=> b.m_str;
    }

private:
    StringType m_str;
};

/// Joins two texts.
/// \param a The first text.
/// \param b The second text.
/// \return a followed by b.
OVX_API CString operator+(const CString& a, const CString& b);

/// For readable test failures and diagnostics: writes the UTF-8 form.
/// \param out The stream.
/// \param text The text.
/// \return out.
OVX_API std::ostream& operator<<(std::ostream& out, const CString& text);

/// Orders CString keys by CompareNoCase, for maps whose keys ignore case.
struct CStringNoCaseLess {
    /// Whether a comes before b, case ignored.
    /// \param a The first key.
    /// \param b The second key.
    /// \return Whether a comes first.
    bool operator()(const CString& a, const CString& b) const { return a.CompareNoCase(b) < 0; }
};

/// \cond HASH_SPECIALIZATIONS
template <>
struct std::hash<CString> {
    std::size_t operator()(const CString& text) const noexcept {
        return std::hash<CString::ViewType>{}(text.View());
    }
};
/// \endcond
