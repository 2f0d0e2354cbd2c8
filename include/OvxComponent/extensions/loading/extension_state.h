/// \file
/// IExtensionState: one loaded extension, as its installer made it. Implemented by
/// installers; held by the manager (and by hosts through FindExtension) as
/// std::shared_ptr<IExtensionState>, on the host's main thread.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/format/extension_data.h"

namespace OvxComponent {

/// A loaded extension, as the manager and its installer see it.
struct IExtensionState {
    /// The extension's record; the manager reads its DocumentID and ExtensionType. Valid as
    /// long as the state lives.
    /// \return The record.
    virtual const ExtensionData& Data() const = 0;
    /// A state starts loaded and becomes unloaded when its installer's Unload answers.
    /// \return Whether the extension is unloaded.
    virtual bool IsUnloaded() const = 0;
    /// \return Whether the extension is loaded.
    virtual bool IsLoaded() const = 0;  ///< always !IsUnloaded()
    /// Hands a request to the extension; false when it has no handler for requests.
    /// \param request The request, in the extension's own terms.
    /// \return Whether the extension handled it.
    virtual bool Invoke(CString request) const = 0;
    virtual ~IExtensionState() = default;
};

}  // namespace OvxComponent
