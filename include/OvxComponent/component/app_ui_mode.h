/// \file
/// IAppUIMode: how the host runs its user interface, as far as the host services ask.
/// Implemented by the host and owned by it; the library never frees it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

namespace OvxComponent {

/// How a host runs its user interface.
class IAppUIMode {
public:
    /// True when the host must show no dialog (it runs without a user, for instance);
    /// message boxes then answer by themselves.
    /// \return Whether dialogs are suppressed.
    virtual bool SuppressesDialogs() = 0;

protected:
    ~IAppUIMode() = default;
};

}  // namespace OvxComponent
