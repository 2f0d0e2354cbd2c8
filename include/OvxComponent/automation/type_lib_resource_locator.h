/// \file
/// ITypeLibResourceLocator: names the module whose resources hold a type library. A host
/// implements it, because only the host knows which of its modules that is.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <windows.h>

namespace OvxComponent {

/// Tells which module holds a type library resource.
class ITypeLibResourceLocator {
public:
    virtual ~ITypeLibResourceLocator() = default;
    /// The module, or null when there is none. index comes in as the type library
    /// resource asked for (0: the first one) and may be changed to another.
    /// \param index The resource asked for; may be changed.
    /// \return The module, or null.
    virtual HINSTANCE GetResourceInstance(unsigned int& index) const = 0;
};

}  // namespace OvxComponent
