// DisplayText: the one rule by which text that comes from packages and disks (entry names,
// metadata, trusted comments, paths) is shown in a log line or on a console. What could end
// the line, move the cursor, colour the terminal or make the line display as something else
// is written as an escape instead, so that one entry is always one line and shows as what
// it holds.
//
// Escaped: the control characters (U+0000-U+001F, U+007F, U+0080-U+009F), the line and
// paragraph separators (U+2028, U+2029), the bidirectional controls (U+202A-U+202E,
// U+2066-U+2069), an unpaired surrogate in UTF-16 text and each byte of UTF-8 text that is
// not part of a well-formed sequence. A code point below U+0100 and an invalid byte show
// as \xHH ("\x1B", "\x0A", "\x85", "\xC3"), others as \uHHHH ("\u202E", "\uD800"), in
// capital hex digits. Every other character, accents, CJK and emoji included, passes as it
// is. The backslash is not escaped, since paths are full of it: the escaped form cannot be
// read back, but escaping it again changes nothing. Internal.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace OvxUtils::DisplayText {

inline constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// Whether the rule escapes the code point.
constexpr bool IsEscaped(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F) || codePoint == 0x2028 ||
           codePoint == 0x2029 || (codePoint >= 0x202A && codePoint <= 0x202E) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069);
}

// One code point of UTF-8 text; length 0 when the bytes at the position are not a
// well-formed sequence (a stray or truncated one, an overlong form, a surrogate, a value
// beyond U+10FFFF).
struct Utf8CodePoint {
    char32_t value = 0;
    std::size_t length = 0;
};
Utf8CodePoint ReadUtf8(std::string_view utf8, std::size_t position);

// The index of the first unit or byte that is shown escaped; kNone when there is none. A
// scan that finds nothing allocates nothing.
std::size_t FindEscaped(CString::ViewType text);
std::size_t FindEscaped(std::string_view utf8);

// Appends text to out as it is shown.
void AppendEscaped(CString::StringType& out, CString::ViewType text);
void AppendEscaped(std::string& out, std::string_view utf8);

// The text as it is shown.
CString Escaped(const CString& text);
std::string Escaped(std::string_view utf8);

}  // namespace OvxUtils::DisplayText
