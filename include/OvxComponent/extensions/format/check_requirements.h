/// \file
/// CheckRequirements: whether an extension's requirements fit the running host.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_requirements.h"
#include "OvxComponent/platform/delegate.h"

#include <optional>

namespace OvxComponent {

/// The running platform: the component is built for 64-bit processes only.
inline constexpr OvxUtils::runtime_bits kRunningPlatform = OvxUtils::runtime_bits::x64;

/// Tests, in this order, stopping at the first that fails: the Windows version range
/// (RunningSystemPasses), the platform (kRunningPlatform must be listed), the host
/// application (appCheck, tried in list order until one answers true), the suite range
/// (GetComponentVersion(): at or above the minimum, below the maximum), and each feature
/// group (featureCheck, tried in group order until one answers true). An empty
/// application list, platform list or feature group is never met; an empty predicate
/// answers false.
/// \param requirements The extension's requirements.
/// \param featureCheck Answers whether the host offers a named feature.
/// \param appCheck Answers whether the host is an application.
/// \return Whether every requirement is met.
OVX_API bool CheckRequirements(const ExtensionRequirements& requirements,
                               OvxUtils::Delegate<bool(CString)> featureCheck,
                               OvxUtils::Delegate<bool(ExtensionAppSupport)> appCheck);

/// A requirement that the host does not meet, in words.
struct UnmetRequirement {
    CString what;      ///< "Windows version", "platform", "application", "suite version" or "feature"
    CString required;  ///< "requires at or after 6.1", "requires one of Atlas,Delta"
    /// What the running host has where the component knows it ("this system is 5.1"); empty
    /// for what only the host's predicates answer (applications, features).
    CString actual;

    /// what + ": " + required, then ", " + actual, or hostSide when actual is empty.
    /// \param hostSide Said of the host where actual is empty.
    /// \return The text.
    OVX_API CString Text(const CString& hostSide = u"the host meets none of them") const;
};

/// The evaluation behind CheckRequirements: the first requirement that fails, tested in
/// the same order and calling the predicates in the same order, stopping at the same
/// place; no value when every requirement is met.
/// \param requirements The extension's requirements.
/// \param featureCheck Answers whether the host offers a named feature.
/// \param appCheck Answers whether the host is an application.
/// \return The first requirement that is not met, or nothing.
OVX_API std::optional<UnmetRequirement> FirstUnmetRequirement(const ExtensionRequirements& requirements,
                                                              OvxUtils::Delegate<bool(CString)> featureCheck,
                                                              OvxUtils::Delegate<bool(ExtensionAppSupport)> appCheck);

}  // namespace OvxComponent
