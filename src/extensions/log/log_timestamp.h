// Local time stamps of log lines, and the clock of log entries.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstdint>

namespace OvxComponent {

// Now, in 100 ns ticks since 1970-01-01 UTC.
std::int64_t LogClockNow();

// The local time of a second since 1970 as "YYYY-MM-DD HH:MM:SS"; empty when it cannot
// be formatted. Throws std::system_error (invalid argument, 0x80070057) when the second
// has no local time.
CString FormatLocalTimestamp(std::int64_t secondsSince1970);

}  // namespace OvxComponent
