// CString: the wide string of the whole component.
//
// It holds UTF-16 code units on every platform, so ordering, case-insensitive
// comparison and the bytes written to logs are the same on Linux and Windows. On
// Windows the unit type is wchar_t, so a CString passes to and from Win32 calls
// without conversion; elsewhere it is char16_t.
#pragma once

#include "OvxComponent/platform/ovx_export.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

class OVX_API CString {
public:
#if defined(_WIN32)
    using XCHAR = wchar_t;
#else
    using XCHAR = char16_t;
#endif
    using StringType = std::basic_string<XCHAR>;
    using ViewType = std::basic_string_view<XCHAR>;
    static_assert(sizeof(XCHAR) == 2, "CString needs 16-bit code units");

    CString() = default;
    CString(const char16_t* text);  // NOLINT: implicit, so u"..." literals read naturally
    CString(std::u16string_view text);
#if defined(_WIN32)
    CString(const wchar_t* text);  // NOLINT
    CString(std::wstring_view text);
#endif
    CString(const XCHAR* units, int length);
    explicit CString(StringType&& units) noexcept : m_str(std::move(units)) {}
    CString(int count, XCHAR unit);

    // UTF-8 in and out; malformed input decodes as U+FFFD per bad sequence.
    static CString FromUtf8(std::string_view utf8);
    std::string ToUtf8() const;

    int GetLength() const { return static_cast<int>(m_str.size()); }
    bool IsEmpty() const { return m_str.empty(); }
    void Empty() { m_str.clear(); }
    void Reserve(int capacity) { m_str.reserve(static_cast<std::size_t>(capacity)); }
    const XCHAR* GetString() const { return m_str.c_str(); }
    XCHAR GetAt(int index) const { return m_str[static_cast<std::size_t>(index)]; }
    XCHAR operator[](int index) const { return GetAt(index); }
    ViewType View() const { return m_str; }
    const StringType& Str() const { return m_str; }

    // Ordinal comparison of the UTF-16 code units; <0, 0 or >0.
    int Compare(const CString& other) const;
    // Ordinal comparison after simple Unicode case folding (the one-to-one mappings of
    // CaseFolding.txt, status C and S), code point by code point, independent of any
    // locale. Strings that differ only in case compare equal.
    int CompareNoCase(const CString& other) const { return CompareNoCase(View(), other.View()); }
    // The same comparison of plain UTF-16 text, for lookups that have no CString at hand.
    static int CompareNoCase(ViewType a, ViewType b) noexcept;

    CString& operator+=(const CString& other);
    CString& operator+=(XCHAR unit);
    void Append(const XCHAR* units, int length);

    // Index of the first occurrence at or after start, or -1.
    int Find(const CString& needle, int start = 0) const;
    int Find(XCHAR unit, int start = 0) const;
    // Index of the last occurrence of unit, or -1.
    int ReverseFind(XCHAR unit) const;
    bool StartsWith(const CString& prefix) const;
    bool EndsWith(const CString& suffix) const;

    // Substrings; out-of-range counts are clamped as the class library does.
    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) {
        return a.m_str <=> b.m_str;
    }

private:
    StringType m_str;
};

OVX_API CString operator+(const CString& a, const CString& b);

// For readable test failures and diagnostics: writes the UTF-8 form.
OVX_API std::ostream& operator<<(std::ostream& out, const CString& text);

// Orders CString keys by CompareNoCase, for maps whose keys ignore case.
struct CStringNoCaseLess {
    bool operator()(const CString& a, const CString& b) const { return a.CompareNoCase(b) < 0; }
};

template <>
struct std::hash<CString> {
    std::size_t operator()(const CString& text) const noexcept {
        return std::hash<CString::ViewType>{}(text.View());
    }
};
