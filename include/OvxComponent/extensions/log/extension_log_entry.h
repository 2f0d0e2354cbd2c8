/// \file
/// ExtensionLogLevel and ExtensionLogEntry: one line of the extension manager's log.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"

#include <cstdint>
#include <optional>

namespace OvxComponent {

/// The level of a log entry.
enum class ExtensionLogLevel : std::uint32_t { Information = 0, Warning = 1, Error = 2 };

/// "Information", "Warning" or "Error"; the first word for a value outside the table.
/// \param level The level.
/// \return Its text, as log lines show it.
OVX_API CString LevelText(ExtensionLogLevel level);

/// One entry of the manager's log.
struct ExtensionLogEntry {
    /// Information, warning or error.
    ExtensionLogLevel level = ExtensionLogLevel::Information;
    std::int64_t time = 0;  ///< 100 ns ticks since 1970-01-01 UTC
    /// The subject's name, when the entry has a subject.
    std::optional<CString> name;
    /// The subject's GUID, when the entry has a subject.
    std::optional<OvxUtils::Guid> guid;
    /// The entry's text.
    CString message;
};

}  // namespace OvxComponent
