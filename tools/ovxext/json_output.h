// --json: the machine-readable answers of ovxext info, check, lint, ls and verify, one JSON
// document on standard output.
#pragma once

#include "command_context.h"

#include <nlohmann/json.hpp>

namespace Ovxext {

using Json = nlohmann::ordered_json;

// Text for a JSON string: the UTF-8 form as it is. WriteJson escapes what it must.
inline std::string JsonText(const CString& text) { return text.ToUtf8(); }

// Writes document, indented, and a line end. Strings are escaped by JSON's rules: control
// characters below U+0020 as JSON writes them ("\n", "\u001b"), the other characters that
// the display rule escapes (DEL, the C1 controls, the separators, the bidirectional
// controls) as "\u007F", "\u202E"; each invalid UTF-8 sequence becomes U+FFFD. The document
// says the same as with the characters themselves and is safe to show on a terminal.
void WriteJson(const CommandContext& context, const Json& document);

}  // namespace Ovxext
