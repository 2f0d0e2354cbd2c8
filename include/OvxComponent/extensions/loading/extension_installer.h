/// \file
/// IExtensionInstaller: brings extensions of the MIME types it is registered for to life.
/// Implemented by hosts (or made by MakeSimpleFileExtensionInstaller); registered with the
/// manager, which holds it only weakly, and called on the host's main thread.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/loading/extension_state.h"
#include "OvxComponent/extensions/loading/unload_result.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/optional.h"
#include "OvxComponent/platform/version.h"

#include <memory>

namespace OvxComponent {

/// What a host registers per extension type: loads, unloads and removes extensions.
struct IExtensionInstaller {
    /// Loads the unpacked extension in the folder path. The state's Data() must carry
    /// documentId and mimeType; null when the extension cannot be loaded.
    /// \param documentId The extension's document ID.
    /// \param version The extension's version.
    /// \param mimeType The extension type that chose this installer.
    /// \param path The unpacked extension's folder.
    /// \return The loaded extension's state, or null.
    virtual std::shared_ptr<IExtensionState> Load(const OvxUtils::Guid& documentId, const OvxUtils::Version& version,
                                                  CString mimeType, CString path) const = 0;
    /// Unloads a state that this installer's Load made. Empty: the unload failed.
    /// \param state The state that Load returned.
    /// \return Unloaded now or later, or nothing when the unload failed.
    virtual OvxUtils::optional<UnloadResult> Unload(std::shared_ptr<IExtensionState>& state) const = 0;
    /// Deletes the extension's installed data below folder; true on success.
    /// \param folder The extension's data folder.
    /// \return Whether the data is deleted.
    virtual bool RemoveData(CString folder) const = 0;
    virtual ~IExtensionInstaller() = default;
};

}  // namespace OvxComponent
