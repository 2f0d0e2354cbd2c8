// The debugger's output: OutputDebugStringW on Windows; nothing elsewhere, where the log
// already holds every line.
#pragma once

#include "OvxComponent/platform/cstring.h"

namespace OvxComponent {

void WriteDebuggerOutput(const CString& text);

}  // namespace OvxComponent
