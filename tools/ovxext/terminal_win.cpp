// The terminal on Windows: the console.
#include "terminal.h"

#include "platform/system_io/win32_io.h"

#include <cstdio>
#include <io.h>
#include <windows.h>

namespace Ovxext {

namespace {

using OvxComponent::Minisign::WipedString;
using OvxUtils::SystemIO::Detail::UniqueFileHandle;

// Puts the console's input mode back as it was when it goes.
class ModeRestorer {
public:
    ModeRestorer(HANDLE input, DWORD saved) : m_input(input), m_saved(saved) {}
    ~ModeRestorer() { ::SetConsoleMode(m_input, m_saved); }
    ModeRestorer(const ModeRestorer&) = delete;
    ModeRestorer& operator=(const ModeRestorer&) = delete;

private:
    HANDLE m_input;
    DWORD m_saved;
};

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

OvxUtils::Result<std::optional<SecretString>> ReadPasswordFromTerminal(const std::string& prompt) {
    if (::_isatty(::_fileno(stdin)) == 0) return std::optional<SecretString>();
    auto line = ReadHiddenLine(u"CONIN$", prompt);
    if (!line) return line.TakeError();
    return std::optional<SecretString>(std::move(*line));
}

OvxUtils::Result<SecretString> ReadHiddenLine(const CString& device, const std::string& prompt) {
    const UniqueFileHandle input(::CreateFileW(device.GetString(), GENERIC_READ | GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!input.IsValid()) return OvxUtils::SystemError(u"cannot open the console " + device);
    const CString refusal = u"cannot turn off echo on the console " + device;
    DWORD saved = 0;
    if (!::GetConsoleMode(input.Get(), &saved)) return OvxUtils::SystemError(refusal);
    const ModeRestorer restorer(input.Get(), saved);
    if (!::SetConsoleMode(input.Get(), (saved & ~static_cast<DWORD>(ENABLE_ECHO_INPUT)) | ENABLE_LINE_INPUT)) {
        return OvxUtils::SystemError(refusal);
    }
    std::fputs(prompt.c_str(), stderr);
    std::fflush(stderr);
    WipedString<wchar_t> line;
    line.reserve(256);  // in the heap, which is wiped, not inside the string object
    wchar_t c = 0;
    DWORD read = 0;
    while (::ReadConsoleW(input.Get(), &c, 1, &read, nullptr) && read == 1 && c != L'\n') {
        if (c != L'\r') line += c;
    }
    sodium_memzero(&c, sizeof(c));
    std::fputs("\n", stderr);
    return Utf8(line);
}

}  // namespace Ovxext
