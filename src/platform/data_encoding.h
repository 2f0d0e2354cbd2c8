// UTF-8 conversions between CString (UTF-16) and the byte strings of XML and archives.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <string>
#include <string_view>

namespace OvxUtils::DataEncoding {

// Unpaired surrogates in the input become U+FFFD; everything else round-trips.
std::string Utf8Encode(const CString& text);

// Each maximal ill-formed subsequence (overlong forms, encoded surrogates, values above
// U+10FFFF, truncated sequences, stray continuation bytes) becomes one U+FFFD, following
// the Unicode recommendation for substitution.
CString Utf8Decode(std::string_view utf8);

// True when the bytes are well-formed UTF-8.
bool IsValidUtf8(std::string_view utf8);

}  // namespace OvxUtils::DataEncoding
