/// \file
/// UnloadResult: an installer's answer to an unload.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <cstdint>

namespace OvxComponent {

/// An installer's answer to an unload.
enum class UnloadResult : std::int32_t {
    Unloaded = 0,  ///< the extension is unloaded now
    Delayed = 1,   ///< the unload was accepted and completes later; its files stay
};

}  // namespace OvxComponent
