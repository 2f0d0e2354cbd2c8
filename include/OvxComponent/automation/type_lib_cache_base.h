/// \file
/// CTypeLibCacheBase: a type library loader that loads from the host module's resources
/// once and keeps the shared CTypeLib for its own life.
///
/// The host derives from it, implements GetResourceInstance, and keeps the object as a
/// static of its module. It takes no lock: callers such as CTypeInfoHolder call GetTypeLib
/// under their own lock, and one cache must not be asked on two threads at once.
///
/// Copying copies the pointer without taking a reference, so the copy and the original
/// would both drop the one reference: a cache that has loaded its library is not to be
/// copied.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/automation/type_lib_res_loader.h"
#include "OvxComponent/platform/ovx_export.h"

namespace OvxComponent {

/// A type library loader that keeps the library it loaded, for the type info holders of
/// one module.
class OVX_API CTypeLibCacheBase : public CTypeLibResLoader {
public:
    CTypeLibCacheBase() = default;
    /// Shares the other's cached library, with a reference of its own.
    /// \param other The cache to copy.
    CTypeLibCacheBase(const CTypeLibCacheBase& other);
    /// Drops the cached library and shares the other's.
    /// \param other The cache to copy.
    /// \return This cache.
    CTypeLibCacheBase& operator=(const CTypeLibCacheBase& other);
    /// Drops the cache's reference on the library.
    ~CTypeLibCacheBase() override;

    /// The cached library with one more reference; loads it (index 0 as the locator
    /// leaves it) on the first call. A loading failure is returned, and tried again on the
    /// next call.
    /// \param result Receives the library.
    /// \return S_OK, or the loading failure.
    HRESULT GetTypeLib(CTypeLib** result) const override;

private:
    mutable CTypeLib* m_pTypeLib = nullptr;  ///< one reference once loaded
};

}  // namespace OvxComponent
