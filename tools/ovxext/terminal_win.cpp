// Whether standard error is a terminal, on Windows.
#include "terminal.h"

#include <cstdio>
#include <io.h>

namespace Ovxext {

bool StandardErrorIsTerminal() { return ::_isatty(::_fileno(stderr)) != 0; }

}  // namespace Ovxext
