// OvxUtils::optional: an optional value.
#pragma once

#include <optional>

namespace OvxUtils {
template <class T>
using optional = std::optional<T>;
}
