// OvxUtils::Delegate: a callable that may be stored and run later, possibly empty.
#pragma once

#include <functional>

namespace OvxUtils {
template <class Signature>
using Delegate = std::function<Signature>;
}
