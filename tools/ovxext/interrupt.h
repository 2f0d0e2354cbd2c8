// Interrupt: Ctrl+C (and, on POSIX systems, SIGTERM) as a flag that a loop polls, so that
// a long-running command can end cleanly instead of being killed.
#pragma once

namespace Ovxext::Interrupt {

// Installs the handler; afterwards an interrupt sets the flag instead of ending the process.
void Install();
bool Requested();
// Sets the flag, as an interrupt does.
void Request();

}  // namespace Ovxext::Interrupt
