// CheckRequirements: whether an extension's requirements fit the running host.
#pragma once

#include "extensions/format/extension_requirements.h"
#include "platform/delegate.h"

namespace OvxComponent {

// The running platform: the component is built for 64-bit processes only.
inline constexpr OvxUtils::runtime_bits kRunningPlatform = OvxUtils::runtime_bits::x64;

// Tests, in this order, stopping at the first that fails: the Windows version range
// (RunningSystemPasses), the platform (kRunningPlatform must be listed), the host
// application (appCheck, tried in list order until one answers true), the suite range
// (GetComponentVersion(): at or above the minimum, below the maximum), and each feature
// group (featureCheck, tried in group order until one answers true). An empty
// application list, platform list or feature group is never met; an empty predicate
// answers false.
OVX_API bool CheckRequirements(const ExtensionRequirements& requirements,
                               OvxUtils::Delegate<bool(CString)> featureCheck,
                               OvxUtils::Delegate<bool(ExtensionAppSupport)> appCheck);

}  // namespace OvxComponent
