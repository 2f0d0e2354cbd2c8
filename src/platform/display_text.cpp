// DisplayText: escaping text for log lines and consoles.
#include "platform/display_text.h"

#include "platform/data_encoding.h"

namespace OvxUtils::DisplayText {

namespace {

bool IsSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }
bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// "\x1B" below U+0100, "\u202E" from there on.
template <class String>
void AppendEscape(String& out, char32_t value) {
    constexpr char kHex[] = "0123456789ABCDEF";
    using Unit = typename String::value_type;
    out.push_back(static_cast<Unit>('\\'));
    out.push_back(static_cast<Unit>(value < 0x100 ? 'x' : 'u'));
    for (int shift = value < 0x100 ? 4 : 12; shift >= 0; shift -= 4) {
        out.push_back(static_cast<Unit>(kHex[(value >> shift) & 0xF]));
    }
}

}  // namespace

Utf8CodePoint ReadUtf8(std::string_view utf8, std::size_t position) {
    const auto lead = static_cast<unsigned char>(utf8[position]);
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    // Which sequences are well formed is DataEncoding's rule, kept in one place.
    if (length == 0 || !DataEncoding::IsValidUtf8(utf8.substr(position, length))) return {};
    char32_t value = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        value = value << 6 | (static_cast<unsigned char>(utf8[position + i]) & 0x3Fu);
    }
    return {value, length};
}

std::size_t FindEscaped(CString::ViewType text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = static_cast<char16_t>(text[i]);
        if (unit >= 0x20 && unit < 0x7F) continue;  // the common case, decided at once
        if (IsSurrogate(unit)) {
            if (!IsHighSurrogate(unit) || i + 1 == text.size() || !IsLowSurrogate(static_cast<char16_t>(text[i + 1]))) {
                return i;
            }
            ++i;
        } else if (IsEscaped(unit)) {
            return i;
        }
    }
    return kNone;
}

std::size_t FindEscaped(std::string_view utf8) {
    for (std::size_t i = 0; i < utf8.size();) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte >= 0x20 && byte < 0x7F) {
            ++i;
            continue;
        }
        const Utf8CodePoint codePoint = ReadUtf8(utf8, i);
        if (codePoint.length == 0 || IsEscaped(codePoint.value)) return i;
        i += codePoint.length;
    }
    return kNone;
}

void AppendEscaped(CString::StringType& out, CString::ViewType text) {
    std::size_t from = 0;
    for (std::size_t found; (found = FindEscaped(text.substr(from))) != kNone;) {
        const std::size_t at = from + found;
        out.append(text.substr(from, at - from));
        AppendEscape(out, static_cast<char16_t>(text[at]));
        from = at + 1;
    }
    out.append(text.substr(from));
}

void AppendEscaped(std::string& out, std::string_view utf8) {
    std::size_t from = 0;
    for (std::size_t found; (found = FindEscaped(utf8.substr(from))) != kNone;) {
        const std::size_t at = from + found;
        out.append(utf8.substr(from, at - from));
        const Utf8CodePoint codePoint = ReadUtf8(utf8, at);
        AppendEscape(out, codePoint.length == 0 ? static_cast<unsigned char>(utf8[at]) : codePoint.value);
        from = at + (codePoint.length == 0 ? 1 : codePoint.length);
    }
    out.append(utf8.substr(from));
}

CString Escaped(const CString& text) {
    if (FindEscaped(text.View()) == kNone) return text;
    CString::StringType out;
    out.reserve(text.Str().size() + 16);
    AppendEscaped(out, text.View());
    return CString(std::move(out));
}

std::string Escaped(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    AppendEscaped(out, utf8);
    return out;
}

}  // namespace OvxUtils::DisplayText
