/// \file
/// ExtensionEntryPointType: how a host reaches an entry point of an extension.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <optional>

namespace OvxComponent {

/// The kinds of entry points.
enum class ExtensionEntryPointType : std::int32_t {
    Control = 0,
    Tool = 1,
    Docker = 2,
    Toolbar = 3,
    Menu = 4,
};

/// "control", "tool", "docker", "toolbar", "menu"; a value outside the enumeration prints
/// as "control".
/// \param value The kind.
/// \return Its text, as extension.xml writes it.
OVX_API CString ToString(ExtensionEntryPointType value);
/// Exact, case-sensitive match of one of those texts; anything else gives no value.
/// \param text A kind's text.
/// \return The kind, or nothing when the text names none.
OVX_API std::optional<ExtensionEntryPointType> ExtensionEntryPointTypeFromString(const CString& text);

}  // namespace OvxComponent
