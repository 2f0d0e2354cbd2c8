/// \file
/// ExtensionEntryPoint: one way in which a host reaches into an extension.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_entry_point_type.h"
#include "OvxComponent/platform/multi_language_string.h"

#include <optional>

namespace OvxComponent {

/// A command, control or other entry that an extension offers the host.
struct ExtensionEntryPoint {
    /// The entry's name.
    MultiLanguageString Name;
    /// A short description.
    MultiLanguageString ShortDescription;
    /// What kind of entry it is.
    ExtensionEntryPointType Type = ExtensionEntryPointType::Control;
    /// The entry's value, which the host reads by its type.
    CString Value;
    std::optional<CString> Guid;  ///< written to the package only when present

    /// Equal when every field is.
    friend bool operator==(const ExtensionEntryPoint&, const ExtensionEntryPoint&) = default;
};

}  // namespace OvxComponent
