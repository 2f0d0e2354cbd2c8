/// \file
/// ITypeLibLoader: whatever hands out a shared CTypeLib, for CTypeInfoHolder.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <windows.h>

namespace OvxComponent {

class CTypeLib;

/// Loads the type library that type info holders read their interfaces from.
class ITypeLibLoader {
public:
    virtual ~ITypeLibLoader() = default;
    /// On success *result carries one CTypeLib reference for the caller.
    /// \param result Receives the library.
    /// \return S_OK, or the loading failure.
    virtual HRESULT GetTypeLib(CTypeLib** result) const = 0;
};

}  // namespace OvxComponent
