// DataEncoding: UTF-8 encoding and decoding of wide strings.
#include "platform/data_encoding.h"

#include <cstdint>

namespace OvxUtils::DataEncoding {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

void AppendUtf16(CString::StringType& out, char32_t cp) {
    using X = CString::XCHAR;
    if (cp < 0x10000) {
        out += static_cast<X>(cp);
    } else {
        cp -= 0x10000;
        out += static_cast<X>(0xD800 + (cp >> 10));
        out += static_cast<X>(0xDC00 + (cp & 0x3FF));
    }
}

// Decodes one code point at bytes[pos]; advances pos past the consumed bytes. An
// ill-formed sequence yields U+FFFD and consumes its maximal subpart (at least one byte).
char32_t DecodeOne(std::string_view bytes, std::size_t& pos, bool& valid) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t lead = byte(pos);
    valid = true;
    if (lead < 0x80) {
        ++pos;
        return lead;
    }
    int length = 0;
    char32_t cp = 0;
    std::uint8_t low = 0x80, high = 0xBF;  // allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, cp = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, cp = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;   // no overlong forms
        if (lead == 0xED) high = 0x9F;  // no encoded surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, cp = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
    } else {
        ++pos;
        valid = false;
        return kReplacement;
    }
    std::size_t i = pos + 1;
    for (int n = 1; n < length; ++n, ++i) {
        const std::uint8_t lo = n == 1 ? low : 0x80;
        const std::uint8_t hi = n == 1 ? high : 0xBF;
        if (i >= bytes.size() || byte(i) < lo || byte(i) > hi) {
            pos = i;
            valid = false;
            return kReplacement;
        }
        cp = (cp << 6) | (byte(i) & 0x3F);
    }
    pos = i;
    return cp;
}

}  // namespace

std::string Utf8Encode(const CString& text) {
    std::string out;
    out.reserve(static_cast<std::size_t>(text.GetLength()));
    const auto units = text.View();
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t unit = static_cast<char16_t>(units[i]);
        if (IsHighSurrogate(unit) && i + 1 < units.size() &&
            IsLowSurrogate(static_cast<char16_t>(units[i + 1]))) {
            const char32_t low = static_cast<char16_t>(units[++i]);
            unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            unit = kReplacement;
        }
        AppendUtf8(out, unit);
    }
    return out;
}

CString Utf8Decode(std::string_view utf8) {
    CString::StringType out;
    out.reserve(utf8.size());
    std::size_t pos = 0;
    bool valid = true;
    while (pos < utf8.size()) {
        // Runs of ASCII are the common case: copy them without decoding.
        std::size_t run = pos;
        while (run < utf8.size() && static_cast<std::uint8_t>(utf8[run]) < 0x80) ++run;
        for (; pos < run; ++pos) out += static_cast<CString::XCHAR>(utf8[pos]);
        if (pos < utf8.size()) AppendUtf16(out, DecodeOne(utf8, pos, valid));
    }
    return CString(std::move(out));
}

bool IsValidUtf8(std::string_view utf8) {
    std::size_t pos = 0;
    bool valid = true;
    while (pos < utf8.size() && valid) {
        if (static_cast<std::uint8_t>(utf8[pos]) < 0x80) {
            ++pos;
        } else {
            DecodeOne(utf8, pos, valid);
        }
    }
    return valid;
}

}  // namespace OvxUtils::DataEncoding
