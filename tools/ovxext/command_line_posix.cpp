// The program's arguments on POSIX systems, taken as UTF-8.
#include "command_line.h"

namespace Ovxext {

// File names on Linux are bytes; the tools treat them as UTF-8.
std::vector<std::string> Utf8Arguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

}  // namespace Ovxext
