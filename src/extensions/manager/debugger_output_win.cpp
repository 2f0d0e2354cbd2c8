// Debugger output on Windows.
#include "extensions/manager/debugger_output.h"

#include <windows.h>

namespace OvxComponent {

void WriteDebuggerOutput(const CString& text) { ::OutputDebugStringW(text.GetString()); }

}  // namespace OvxComponent
