// The program's arguments as UTF-8, whatever the system's code page.
#pragma once

#include <string>
#include <vector>

namespace Ovxext {

// The arguments after the program name.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

}  // namespace Ovxext
