/// \file
/// ExtensionRequirements: what a host must offer before an extension may load.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_app_support.h"
#include "OvxComponent/extensions/format/runtime_bits.h"
#include "OvxComponent/platform/version.h"

#include <vector>

namespace OvxComponent {

/// Every member must be met; CheckRequirements evaluates them. Lists mean "any of": an
/// empty application or platform list can never be met.
struct ExtensionRequirements {
    /// The host applications the extension runs in.
    std::vector<ExtensionAppSupport> AppList;
    OvxUtils::VersionRange AppVersion;  ///< suite versions: minimum inclusive, maximum exclusive
    /// The platforms the extension is built for.
    std::vector<OvxUtils::runtime_bits> PlatformSupport;
    OvxUtils::VersionRange WinVersion;  ///< Windows versions: minimum inclusive, maximum exclusive
    /// Each group is met by any one of its feature names; an empty group is never met.
    std::vector<std::vector<CString>> Features;

    /// Equal when every requirement is.
    friend bool operator==(const ExtensionRequirements&, const ExtensionRequirements&) = default;
};

}  // namespace OvxComponent
