// System errors on POSIX systems: errno and strerror_r.
#include "OvxComponent/platform/result.h"

#include <cerrno>
#include <cstring>

namespace OvxUtils {

std::uint32_t LastSystemError() { return static_cast<std::uint32_t>(errno); }

CString SystemErrorText(std::uint32_t code) {
    char buffer[256];
    // The GNU strerror_r returns its text, which need not be in the buffer.
    const char* text = ::strerror_r(static_cast<int>(code), buffer, sizeof(buffer));
    return CString::FromUtf8(text);
}

}  // namespace OvxUtils
