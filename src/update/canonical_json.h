// The canonical form of JSON that repository metadata is signed in: objects with their
// keys in byte order, no white space, strings with only the quote and the backslash
// escaped, integers only. Two parsers that read the same document make the same bytes,
// so a signature over the "signed" part holds whatever spacing the server used.
#pragma once

#include "OvxComponent/platform/result.h"

#include <nlohmann/json.hpp>

#include <string>

namespace OvxUpdate {

// The canonical bytes of value; a fraction, or nesting deeper than any metadata needs,
// has no canonical form and is refused.
OvxUtils::Result<std::string> CanonicalJson(const nlohmann::json& value);

}  // namespace OvxUpdate
