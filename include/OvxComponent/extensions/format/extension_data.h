/// \file
/// ExtensionData: everything that an extension package says about its extension.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_entry_point.h"
#include "OvxComponent/extensions/format/extension_requirements.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/multi_language_string.h"
#include "OvxComponent/platform/version.h"

#include <cstdint>
#include <vector>

namespace OvxComponent {

/// Every field of an extension's record, as a plain value.
struct ExtensionData {
    /// What the extension requires of the host.
    ExtensionRequirements requirements;
    /// The title, with its language variants.
    MultiLanguageString Title;
    /// The description, with its language variants.
    MultiLanguageString Description;
    OvxUtils::Guid DocumentID;  ///< the extension's identity; all-zero when it has none
    CString AuxiliaryString;    ///< carried with the record, never written to a package
    /// The extension's version.
    OvxUtils::Version Version;
    CString ExtensionType;  ///< the package subformat
    /// The keywords, each with its language variants.
    std::vector<MultiLanguageString> Keywords;
    /// The entry points the extension offers.
    std::vector<ExtensionEntryPoint> EntryPoints;
    /// The tool that made the package.
    CString CreatorTool;
    /// The notes, with their language variants.
    MultiLanguageString Notes;
    std::int32_t AuxiliaryInteger = 1;  ///< carried with the record, never written to a package

    /// Equal when every field is.
    friend bool operator==(const ExtensionData&, const ExtensionData&) = default;
};

}  // namespace OvxComponent
