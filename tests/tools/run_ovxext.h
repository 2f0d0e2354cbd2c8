// Runs one ovxext command in the test's process and keeps what it printed.
#pragma once

#include "commands.h"

#include <sstream>
#include <string>
#include <vector>

namespace OvxTest {

struct RunResult {
    int code;
    std::string out;
    std::string err;
};

inline RunResult RunOvxext(const std::vector<std::string>& args) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = Ovxext::RunCommand(args, out, err);
    return {code, out.str(), err.str()};
}

}  // namespace OvxTest
