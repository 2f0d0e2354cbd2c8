// Whether standard error is a terminal, on POSIX systems.
#include "terminal.h"

#include <unistd.h>

namespace Ovxext {

bool StandardErrorIsTerminal() { return ::isatty(STDERR_FILENO) != 0; }

}  // namespace Ovxext
