// --json: the machine-readable answers of ovxext info, check, lint and ls, one JSON
// document on standard output.
#pragma once

#include "command_context.h"

#include <nlohmann/json.hpp>

namespace Ovxext {

using Json = nlohmann::ordered_json;

inline std::string JsonText(const CString& text) { return text.ToUtf8(); }

// Writes document, indented, and a line end.
inline void WriteJson(const CommandContext& context, const Json& document) { context.out << document.dump(2) << "\n"; }

}  // namespace Ovxext
