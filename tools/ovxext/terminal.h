// The terminal: whether progress lines go to one, and passwords read from one.
#pragma once

#include "extensions/trust/wiped_memory.h"

#include <optional>
#include <string>

namespace Ovxext {

using OvxComponent::Minisign::SecretString;

bool StandardErrorIsTerminal();

// Reads a line from the terminal without showing it, after writing prompt there. Nothing
// when standard input is not a terminal (a script, a pipe, a test).
std::optional<SecretString> ReadPasswordFromTerminal(const std::string& prompt);

}  // namespace Ovxext
