// System errors on Windows: GetLastError and FormatMessageW.
#include "OvxComponent/platform/result.h"

#include <windows.h>

namespace OvxUtils {

std::uint32_t LastSystemError() { return ::GetLastError(); }

CString SystemErrorText(std::uint32_t code) {
    wchar_t buffer[512];
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                                    MAKELANGID(LANG_ENGLISH, SUBLANG_DEFAULT), buffer, 512, nullptr);
    if (length == 0) {
        length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                  buffer, 512, nullptr);
    }
    // The system's text ends with a full stop and a line end, which a log line does not want.
    while (length > 0 && (buffer[length - 1] == L'\r' || buffer[length - 1] == L'\n' || buffer[length - 1] == L'.' ||
                          buffer[length - 1] == L' ')) {
        --length;
    }
    if (length == 0) return u"system error " + DecimalText(code);
    return CString(std::wstring_view(buffer, length));
}

}  // namespace OvxUtils
