// OvxUtils::array_view: a non-owning view of a contiguous sequence.
#pragma once

#include <span>

namespace OvxUtils {
template <class T>
using array_view = std::span<T>;
}
