// The terminal: whether progress lines go to one, and passwords read from one.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"
#include "extensions/trust/wiped_memory.h"

#include <optional>
#include <string>

namespace Ovxext {

using OvxComponent::Minisign::SecretString;

bool StandardErrorIsTerminal();

// Reads a line from the terminal without showing it, after writing prompt there. Nothing
// when standard input is not a terminal (a script, a pipe, a test). A password is never
// read visibly: when the terminal's echo cannot be turned off, nothing is read and the
// error says so. The terminal's mode is put back on every path, also when Ctrl+C ends
// the read on a POSIX system (the signal then takes its course).
OvxUtils::Result<std::optional<SecretString>> ReadPasswordFromTerminal(const std::string& prompt);

// The same from the terminal device at device ("/dev/tty", "CONIN$"), whether or not
// standard input is a terminal; the error when it cannot be opened names it.
OvxUtils::Result<SecretString> ReadHiddenLine(const CString& device, const std::string& prompt);

}  // namespace Ovxext
