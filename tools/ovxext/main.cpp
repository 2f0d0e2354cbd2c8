// ovxext: the command-line companion of OvxComponent for extension authors and hosts.

#include "command_line.h"
#include "commands.h"
#include "process_setup.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    Ovxext::SetUpProcess();
    const std::vector<std::string> args = Ovxext::Utf8Arguments(argc, argv);
    const int code = Ovxext::RunCommand(args, std::cout, std::cerr);
    std::cout.flush();
    return code;
}
