/// \file
/// OvxUtils::runtime_bits: the word size of a process, as platform requirements name it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <optional>

namespace OvxUtils {

/// The platforms a package may be built for.
enum class runtime_bits : std::int32_t {
    x32 = 0,
    x64 = 1,
};

/// "x32", "x64"; a value outside the enumeration prints as "x32".
/// \param value The platform.
/// \return Its name, x32 or x64.
OVX_API CString ToString(runtime_bits value);
/// Exact, case-sensitive match of one of those texts; anything else gives no value.
/// \param text A platform's name.
/// \return The platform, or nothing when the text names none.
OVX_API std::optional<runtime_bits> RuntimeBitsFromString(const CString& text);

}  // namespace OvxUtils
