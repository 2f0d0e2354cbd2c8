// ExtensionData: everything that an extension package says about its extension.
#pragma once

#include "OvxComponent/extensions/format/extension_entry_point.h"
#include "OvxComponent/extensions/format/extension_requirements.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/multi_language_string.h"
#include "OvxComponent/platform/version.h"

#include <cstdint>
#include <vector>

namespace OvxComponent {

struct ExtensionData {
    ExtensionRequirements requirements;
    MultiLanguageString Title;
    MultiLanguageString Description;
    OvxUtils::Guid DocumentID;  // the extension's identity; all-zero when it has none
    CString AuxiliaryString;    // carried with the record, never written to a package
    OvxUtils::Version Version;
    CString ExtensionType;  // the package subformat
    std::vector<MultiLanguageString> Keywords;
    std::vector<ExtensionEntryPoint> EntryPoints;
    CString CreatorTool;
    MultiLanguageString Notes;
    std::int32_t AuxiliaryInteger = 1;  // carried with the record, never written to a package

    friend bool operator==(const ExtensionData&, const ExtensionData&) = default;
};

}  // namespace OvxComponent
