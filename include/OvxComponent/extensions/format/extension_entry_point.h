// ExtensionEntryPoint: one way in which a host reaches into an extension.
#pragma once

#include "OvxComponent/extensions/format/extension_entry_point_type.h"
#include "OvxComponent/platform/multi_language_string.h"

#include <optional>

namespace OvxComponent {

struct ExtensionEntryPoint {
    MultiLanguageString Name;
    MultiLanguageString ShortDescription;
    ExtensionEntryPointType Type = ExtensionEntryPointType::Control;
    CString Value;
    std::optional<CString> Guid;  // written to the package only when present

    friend bool operator==(const ExtensionEntryPoint&, const ExtensionEntryPoint&) = default;
};

}  // namespace OvxComponent
