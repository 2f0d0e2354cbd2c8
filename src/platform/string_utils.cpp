// String: splitting and number parsing as the metadata record uses them.
#include "platform/string_utils.h"

#include <limits>

namespace OvxUtils::String {
namespace {

bool IsBlank(CString::XCHAR c) { return c == u' ' || c == u'\t'; }
bool IsDigit(CString::XCHAR c) { return c >= u'0' && c <= u'9'; }

struct ParsedInt {
    std::int32_t value = 0;
    std::size_t end = 0;  // index after the last digit read
    bool anyDigit = false;
    bool overflow = false;
};

ParsedInt ParseLeadingInt(CString::ViewType text, std::size_t pos) {
    ParsedInt out;
    bool negative = false;
    if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) negative = text[pos++] == u'-';
    // Accumulate as a negative number so that the minimum value fits.
    constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (; pos < text.size() && IsDigit(text[pos]); ++pos) {
        out.anyDigit = true;
        if (!out.overflow) {
            value = value * 10 + (text[pos] - u'0');
            if (value > kMax + 1) out.overflow = true;
        }
    }
    out.end = pos;
    if (negative) value = -value;
    if (out.overflow || value > kMax || value < kMin) {
        out.overflow = true;
        value = negative ? kMin : kMax;
    }
    out.value = static_cast<std::int32_t>(value);
    return out;
}

}  // namespace

std::vector<CString> Split(const CString& text, CString::XCHAR separator, bool keepEmpty, bool trim) {
    std::vector<CString> pieces;
    if (text.IsEmpty() && !keepEmpty) return pieces;
    const auto view = text.View();
    std::size_t start = 0;
    while (true) {
        const std::size_t end = std::min(view.find(separator, start), view.size());
        CString piece(view.data() + start, static_cast<int>(end - start));
        if (trim) piece = Trim(piece);
        if (keepEmpty || !piece.IsEmpty()) pieces.push_back(std::move(piece));
        if (end == view.size()) break;
        start = end + 1;
    }
    return pieces;
}

std::int32_t IntFromString(const CString& text) {
    const auto view = text.View();
    std::size_t pos = 0;
    while (pos < view.size() && IsBlank(view[pos])) ++pos;
    return ParseLeadingInt(view, pos).value;
}

std::optional<std::int32_t> TryIntFromString(const CString& text) {
    const auto parsed = ParseLeadingInt(text.View(), 0);
    if (!parsed.anyDigit || parsed.overflow || parsed.end != text.View().size()) return std::nullopt;
    return parsed.value;
}

CString Trim(const CString& text) {
    const auto view = text.View();
    std::size_t first = 0, last = view.size();
    while (first < last && IsBlank(view[first])) ++first;
    while (last > first && IsBlank(view[last - 1])) --last;
    return CString(view.data() + first, static_cast<int>(last - first));
}

}  // namespace OvxUtils::String
