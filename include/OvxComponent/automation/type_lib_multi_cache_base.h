/// \file
/// CTypeLibMultiCacheBase: keeps one shared CTypeLib per type library resource index of a
/// host module, each loaded on its first request.
///
/// The host derives from it, implements GetResourceInstance, and keeps the object as a
/// static of its module. It takes no lock: one cache must not be asked on two threads at
/// once. A locator that changes the index makes the library cached under the changed
/// index; later requests for the index as asked miss and load again.
///
/// Copies share the cached pointers without references of their own: a cache that has
/// loaded libraries is not to be copied.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>

#include <map>

namespace OvxComponent {

class CTypeLib;

/// A cache of the type libraries of one module, by resource index.
class OVX_API CTypeLibMultiCacheBase {
public:
    CTypeLibMultiCacheBase() = default;
    /// Shares the other's cached libraries, with references of its own.
    /// \param other The cache to copy.
    CTypeLibMultiCacheBase(const CTypeLibMultiCacheBase& other);
    /// Empties this cache without dropping its references, then copies other's entries.
    /// \param other The cache to copy.
    /// \return This cache.
    CTypeLibMultiCacheBase& operator=(const CTypeLibMultiCacheBase& other);
    /// Drops the reference on every cached library.
    virtual ~CTypeLibMultiCacheBase();

    /// The library of resource index with one reference for the caller, loaded on the
    /// first request. A loading failure is returned, nothing is cached, and the next call
    /// tries again. A library whose wrapper could not be made is cached as null.
    /// \param index The type library resource (0: the first one).
    /// \param result Receives the library.
    /// \return S_OK, or the loading failure.
    HRESULT GetTypeLib(unsigned int index, CTypeLib** result) const;

    /// As ITypeLibResourceLocator::GetResourceInstance.
    /// \param index The resource asked for; may be changed.
    /// \return The module, or null.
    virtual HINSTANCE GetResourceInstance(unsigned int& index) const = 0;

private:
    mutable std::map<unsigned int, CTypeLib*> m_cache;  ///< one reference per non-null value
};

}  // namespace OvxComponent
