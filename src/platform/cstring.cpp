// CString: UTF-8 conversion, comparison, search and substrings.
#include "OvxComponent/platform/cstring.h"

#include "platform/case_folding.h"
#include "platform/data_encoding.h"

#include <algorithm>
#include <ostream>

namespace {

using UnitView = CString::ViewType;

// Reads the code point at text[i] and advances i; unpaired surrogates stand for themselves.
char32_t NextCodePoint(UnitView text, std::size_t& i) {
    const char32_t unit = static_cast<char16_t>(text[i++]);
    if (unit >= 0xD800 && unit <= 0xDBFF && i < text.size()) {
        const char32_t low = static_cast<char16_t>(text[i]);
        if (low >= 0xDC00 && low <= 0xDFFF) {
            ++i;
            return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        }
    }
    return unit;
}

char32_t AsciiLower(char32_t c) { return (c >= u'A' && c <= u'Z') ? c + (u'a' - u'A') : c; }

// Folded code points compare by their UTF-16 form, so that CompareNoCase orders strings
// without cased letters exactly as Compare does.
char32_t Utf16SortKey(char32_t cp) {
    return cp >= 0x10000 ? 0xD800 + ((cp - 0x10000) >> 10) : cp;
}

CString::StringType Widen(std::u16string_view text) {
    return CString::StringType(text.begin(), text.end());
}

std::size_t Clamp(int value, std::size_t max) {
    return value <= 0 ? 0 : std::min(static_cast<std::size_t>(value), max);
}

}  // namespace

CString::CString(const char16_t* text) : CString(std::u16string_view(text ? text : u"")) {}
CString::CString(std::u16string_view text) : m_str(Widen(text)) {}
#if defined(_WIN32)
CString::CString(const wchar_t* text) : m_str(text ? text : L"") {}
CString::CString(std::wstring_view text) : m_str(text) {}
#endif
CString::CString(const XCHAR* units, int length)
    : m_str(units, units ? static_cast<std::size_t>(std::max(length, 0)) : 0) {}
CString::CString(int count, XCHAR unit) : m_str(static_cast<std::size_t>(std::max(count, 0)), unit) {}

CString CString::FromUtf8(std::string_view utf8) { return OvxUtils::DataEncoding::Utf8Decode(utf8); }
std::string CString::ToUtf8() const { return OvxUtils::DataEncoding::Utf8Encode(*this); }

int CString::Compare(const CString& other) const {
    const int c = m_str.compare(other.m_str);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

int CString::CompareNoCase(ViewType a, ViewType b) noexcept {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i] < 0x80 && b[j] < 0x80) {  // ASCII needs no table
            const char32_t la = AsciiLower(a[i++]), lb = AsciiLower(b[j++]);
            if (la != lb) return la < lb ? -1 : 1;
            continue;
        }
        const char32_t ca = OvxUtils::Unicode::SimpleFold(NextCodePoint(a, i));
        const char32_t cb = OvxUtils::Unicode::SimpleFold(NextCodePoint(b, j));
        if (ca != cb) {
            const char32_t ka = Utf16SortKey(ca), kb = Utf16SortKey(cb);
            if (ka != kb) return ka < kb ? -1 : 1;
            return ca < cb ? -1 : 1;
        }
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

CString& CString::operator+=(const CString& other) {
    m_str += other.m_str;
    return *this;
}

CString& CString::operator+=(XCHAR unit) {
    m_str += unit;
    return *this;
}

void CString::Append(const XCHAR* units, int length) {
    if (units && length > 0) m_str.append(units, static_cast<std::size_t>(length));
}

int CString::Find(const CString& needle, int start) const {
    if (start < 0 || static_cast<std::size_t>(start) > m_str.size()) return -1;
    const auto pos = m_str.find(needle.m_str, static_cast<std::size_t>(start));
    return pos == StringType::npos ? -1 : static_cast<int>(pos);
}

int CString::Find(XCHAR unit, int start) const {
    if (start < 0 || static_cast<std::size_t>(start) > m_str.size()) return -1;
    const auto pos = m_str.find(unit, static_cast<std::size_t>(start));
    return pos == StringType::npos ? -1 : static_cast<int>(pos);
}

int CString::ReverseFind(XCHAR unit) const {
    const auto pos = m_str.rfind(unit);
    return pos == StringType::npos ? -1 : static_cast<int>(pos);
}

bool CString::StartsWith(const CString& prefix) const { return View().starts_with(prefix.View()); }
bool CString::EndsWith(const CString& suffix) const { return View().ends_with(suffix.View()); }

CString CString::Left(int count) const {
    CString out;
    out.m_str = m_str.substr(0, Clamp(count, m_str.size()));
    return out;
}

CString CString::Right(int count) const {
    const std::size_t n = Clamp(count, m_str.size());
    CString out;
    out.m_str = m_str.substr(m_str.size() - n);
    return out;
}

CString CString::Mid(int first) const { return Mid(first, GetLength()); }

CString CString::Mid(int first, int count) const {
    const std::size_t from = Clamp(first, m_str.size());
    CString out;
    out.m_str = m_str.substr(from, Clamp(count, m_str.size() - from));
    return out;
}

CString operator+(const CString& a, const CString& b) {
    CString out = a;
    out += b;
    return out;
}

std::ostream& operator<<(std::ostream& out, const CString& text) { return out << text.ToUtf8(); }
