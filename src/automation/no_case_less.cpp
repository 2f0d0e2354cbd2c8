// NoCaseLess: simple Unicode case folding, code point by code point, over UTF-16 text.
#include "automation/no_case_less.h"

#include "platform/case_folding.h"

namespace OvxComponent {
namespace {

// The code point at text[i], advancing i; an unpaired surrogate stands for itself.
char32_t NextCodePoint(std::wstring_view text, std::size_t& i) {
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

// Folded code points are ordered by their UTF-16 form, as CString orders its units.
char32_t Utf16SortKey(char32_t cp) { return cp >= 0x10000 ? 0xD800 + ((cp - 0x10000) >> 10) : cp; }

wchar_t AsciiLower(wchar_t c) { return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + (L'a' - L'A')) : c; }

}  // namespace

int NoCaseLess::Compare(std::wstring_view a, std::wstring_view b) noexcept {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i] < 0x80 && b[j] < 0x80) {  // ASCII needs no table
            const wchar_t la = AsciiLower(a[i++]), lb = AsciiLower(b[j++]);
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

}  // namespace OvxComponent
