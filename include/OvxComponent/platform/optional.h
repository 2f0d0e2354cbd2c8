/// \file
/// OvxUtils::optional: an optional value.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <optional>

namespace OvxUtils {
/// An optional value.
template <class T>
using optional = std::optional<T>;
}
