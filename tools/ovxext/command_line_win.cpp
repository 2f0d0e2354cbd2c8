// The program's arguments on Windows, from the wide command line.
#include "command_line.h"

#include "platform/data_encoding.h"

#include <windows.h>
#include <shellapi.h>

namespace Ovxext {

// argv holds the arguments in the ANSI code page, which cannot spell every file name; the
// wide command line can.
std::vector<std::string> Utf8Arguments(int argc, char** argv) {
    int count = 0;
    LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!wide) return {argv + 1, argv + argc};
    std::vector<std::string> args;
    for (int i = 1; i < count; ++i) args.push_back(OvxUtils::DataEncoding::Utf8Encode(CString(wide[i])));
    LocalFree(wide);
    return args;
}

}  // namespace Ovxext
