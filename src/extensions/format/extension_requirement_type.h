// ExtensionRequirementType: the kinds of requirement in a package's requirements document.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <optional>

namespace OvxComponent {

enum class ExtensionRequirementType : std::int32_t {
    PlatformBits = 0,       // any of the listed platforms
    OrvexApplication = 1,   // any of the listed host applications
    WindowsVersion = 2,     // a range of Windows versions
    OrvexSuiteVersion = 3,  // a range of suite versions
    Feature = 4,            // any of the listed host features
};

// "platform_bits", "orvex_application", "windows_version", "orvex_suite_version",
// "feature"; a value outside the enumeration prints as "platform_bits".
CString ToString(ExtensionRequirementType value);
// Exact, case-sensitive match of one of those texts; anything else gives no value.
std::optional<ExtensionRequirementType> ExtensionRequirementTypeFromString(const CString& text);

}  // namespace OvxComponent
