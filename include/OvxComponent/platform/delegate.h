/// \file
/// OvxUtils::Delegate: a callable that may be stored and run later, possibly empty.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <functional>

namespace OvxUtils {
/// A callable of the signature.
template <class Signature>
using Delegate = std::function<Signature>;
}
