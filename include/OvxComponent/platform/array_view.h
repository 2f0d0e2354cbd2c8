/// \file
/// OvxUtils::array_view: a non-owning view of a contiguous sequence.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <span>

namespace OvxUtils {
/// A view of contiguous elements.
template <class T>
using array_view = std::span<T>;
}
