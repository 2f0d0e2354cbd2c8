// Splitting and number parsing on CString, as the metadata text forms use them.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace OvxUtils::String {

// Splits text at every separator. With keepEmpty false, empty pieces are dropped; with
// trim true, blanks and tabs around each piece are removed first (so a piece holding
// only blanks counts as empty). An empty text gives no pieces unless keepEmpty is set.
std::vector<CString> Split(const CString& text, CString::XCHAR separator, bool keepEmpty,
                                   bool trim);

// The leading decimal integer of text, after optional blanks and one sign: "42abc" is 42,
// "abc" and "" are 0. Values beyond the 32-bit range saturate at its bounds.
std::int32_t IntFromString(const CString& text);

// Strict form: the whole text must be one decimal integer (optional sign, digits only,
// within the 32-bit range); anything else gives no value.
std::optional<std::int32_t> TryIntFromString(const CString& text);

// Removes blanks and tabs at both ends.
CString Trim(const CString& text);

}  // namespace OvxUtils::String
