// Log time stamps: the clock of log entries and the local time text of each line.
#include "extensions/log/log_timestamp.h"

#include <chrono>
#include <ctime>
#include <system_error>

namespace OvxComponent {

std::int64_t LogClockNow() {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    return std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch()).count();
}

CString FormatLocalTimestamp(std::int64_t secondsSince1970) {
    const auto seconds = static_cast<std::time_t>(secondsSince1970);
    std::tm local{};
#if defined(_WIN32)
    const bool converted = ::_localtime64_s(&local, &seconds) == 0;
#else
    const bool converted = ::localtime_r(&seconds, &local) != nullptr;
#endif
    if (!converted) {
        constexpr int kInvalidArgument = static_cast<int>(0x80070057);
        throw std::system_error(kInvalidArgument, std::system_category(), "the log time has no local time");
    }
    char text[128];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return CString::FromUtf8(std::string_view(text, length));
}

}  // namespace OvxComponent
