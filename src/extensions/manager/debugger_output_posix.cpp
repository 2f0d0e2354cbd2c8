// Debugger output on POSIX systems: there is no debugger channel to write to, and the log
// holds the line already.
#include "extensions/manager/debugger_output.h"

namespace OvxComponent {

void WriteDebuggerOutput(const CString&) {}

}  // namespace OvxComponent
