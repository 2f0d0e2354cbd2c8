// The terminal on Windows: the console.
#include "terminal.h"

#include <cstdio>
#include <io.h>
#include <windows.h>

namespace Ovxext {

namespace {

using OvxComponent::Minisign::WipedString;

// UTF-16 as UTF-8, in wiped memory all the way.
SecretString Utf8(const WipedString<wchar_t>& text) {
    SecretString utf8;
    if (text.empty()) return utf8;
    const int units = static_cast<int>(text.size());
    const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    utf8.Resize(static_cast<std::size_t>(bytes));
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.Data(), bytes, nullptr, nullptr);
    return utf8;
}

}  // namespace

bool StandardErrorIsTerminal() { return ::_isatty(::_fileno(stderr)) != 0; }

std::optional<SecretString> ReadPasswordFromTerminal(const std::string& prompt) {
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
    WipedString<wchar_t> line;
    line.reserve(256);  // in the heap, which is wiped, not inside the string object
    wchar_t c = 0;
    DWORD read = 0;
    while (::ReadConsoleW(input, &c, 1, &read, nullptr) && read == 1 && c != L'\n') {
        if (c != L'\r') line += c;
    }
    sodium_memzero(&c, sizeof(c));
    ::SetConsoleMode(input, saved);
    ::CloseHandle(input);
    std::fputs("\n", stderr);
    return Utf8(line);
}

}  // namespace Ovxext
