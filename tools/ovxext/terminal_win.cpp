// The terminal on Windows: the console.
#include "terminal.h"

#include "OvxComponent/platform/cstring.h"

#include <cstdio>
#include <io.h>
#include <windows.h>

namespace Ovxext {

bool StandardErrorIsTerminal() { return ::_isatty(::_fileno(stderr)) != 0; }

std::optional<std::string> ReadPasswordFromTerminal(const std::string& prompt) {
    if (::_isatty(::_fileno(stdin)) == 0) return std::nullopt;
    HANDLE input = ::CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                 OPEN_EXISTING, 0, nullptr);
    if (input == INVALID_HANDLE_VALUE) return std::nullopt;
    DWORD saved = 0;
    if (!::GetConsoleMode(input, &saved)) {
        ::CloseHandle(input);
        return std::nullopt;
    }
    ::SetConsoleMode(input, (saved & ~static_cast<DWORD>(ENABLE_ECHO_INPUT)) | ENABLE_LINE_INPUT);
    std::fputs(prompt.c_str(), stderr);
    std::fflush(stderr);
    std::u16string line;
    wchar_t c = 0;
    DWORD read = 0;
    while (::ReadConsoleW(input, &c, 1, &read, nullptr) && read == 1 && c != L'\n') {
        if (c != L'\r') line += static_cast<char16_t>(c);
    }
    ::SetConsoleMode(input, saved);
    ::CloseHandle(input);
    std::fputs("\n", stderr);
    return CString(line).ToUtf8();
}

}  // namespace Ovxext
