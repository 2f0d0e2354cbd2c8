/// \file
/// ExtensionAppSupport: the host applications that an extension may require.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <optional>

namespace OvxComponent {

/// The host applications an extension may run in.
enum class ExtensionAppSupport : std::int32_t {
    Atlas = 0,
    Beacon = 1,
    Cinder = 2,
    Delta = 3,
};

/// "Atlas", "Beacon", "Cinder", "Delta"; a value outside the enumeration prints as "Atlas".
/// \param value The application.
/// \return Its name, as the requirements write it.
OVX_API CString ToString(ExtensionAppSupport value);
/// Exact, case-sensitive match of one of those texts; anything else gives no value.
/// \param text An application's name.
/// \return The application, or nothing when the text names none.
OVX_API std::optional<ExtensionAppSupport> ExtensionAppSupportFromString(const CString& text);

}  // namespace OvxComponent
