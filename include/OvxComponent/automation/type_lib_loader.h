/// \file
/// ITypeLibLoader: whatever hands out a shared CTypeLib, for CTypeInfoHolder.
#pragma once

#include <windows.h>

namespace OvxComponent {

class CTypeLib;

class ITypeLibLoader {
public:
    virtual ~ITypeLibLoader() = default;
    /// On success *result carries one CTypeLib reference for the caller.
    virtual HRESULT GetTypeLib(CTypeLib** result) const = 0;
};

}  // namespace OvxComponent
