/// \file
/// CTypeLibResLoader: loads a type library from the resources of a host module on every
/// request, and hands out the shared CTypeLib of it.
///
/// The host derives from it and implements GetResourceInstance to name its module.
/// Nothing is kept between requests; LoadTypeLibEx itself keeps libraries it has loaded,
/// so repeated requests normally give the same ITypeLib and thus the same CTypeLib.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/automation/type_lib_loader.h"
#include "OvxComponent/automation/type_lib_resource_locator.h"
#include "OvxComponent/platform/ovx_export.h"

namespace OvxComponent {

/// Loads a type library from a module's resources; the module comes from
/// GetResourceInstance.
class OVX_API CTypeLibResLoader : public ITypeLibLoader, public ITypeLibResourceLocator {
public:
    /// Loads the type library resource index of module (0: the first one; n: the
    /// resource with id n), without registering it, and hands out its shared CTypeLib
    /// with one reference. E_FAIL for a null module, E_POINTER for a null result, else
    /// the HRESULT of LoadTypeLibEx; on success *result is null only when no wrapper could
    /// be made.
    /// \param module The module holding the resource.
    /// \param index The resource (0: the first one).
    /// \param result Receives the library.
    /// \return S_OK, or the failure.
    static HRESULT LoadTypeLibFromResource(HINSTANCE module, unsigned int index, CTypeLib** result);

    /// Asks GetResourceInstance for the module, starting from index 0, and loads.
    /// \param result Receives the library.
    /// \return S_OK, or the failure.
    HRESULT GetTypeLib(CTypeLib** result) const override;
};

}  // namespace OvxComponent
