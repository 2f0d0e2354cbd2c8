// ExtensionLogLevel and ExtensionLogEntry: one line of the extension manager's log.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"

#include <cstdint>
#include <optional>

namespace OvxComponent {

enum class ExtensionLogLevel : std::uint32_t { Information = 0, Warning = 1, Error = 2 };

// "Information", "Warning" or "Error"; the first word for a value outside the table.
OVX_API CString LevelText(ExtensionLogLevel level);

struct ExtensionLogEntry {
    ExtensionLogLevel level = ExtensionLogLevel::Information;
    std::int64_t time = 0;  // 100 ns ticks since 1970-01-01 UTC
    std::optional<CString> name;
    std::optional<OvxUtils::Guid> guid;
    CString message;
};

}  // namespace OvxComponent
