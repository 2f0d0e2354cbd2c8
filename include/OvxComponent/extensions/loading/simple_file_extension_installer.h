/// \file
/// MakeSimpleFileExtensionInstaller: a complete installer made of three host functions, for
/// extensions that are plain files.
///
/// The host functions see only the extension's "content" folder: load gets it and returns
/// an opaque handle (null: the extension did not load), unload gets it with the handle
/// (which it may reset or replace) and answers as an installer does, invoke forwards a
/// request to a loaded extension. Nothing is logged here; the manager logs.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/loading/extension_installer.h"

#include <functional>
#include <memory>
#include <vector>

namespace OvxComponent {

/// Loads the extension in contentFolder; returns the host's handle, or null when it fails.
using SimpleLoad = std::function<std::shared_ptr<void>(CString contentFolder)>;
/// Unloads the extension of the handle; nothing when it cannot.
using SimpleUnload = std::function<OvxUtils::optional<UnloadResult>(CString contentFolder, std::shared_ptr<void>& handle)>;
/// Hands the extension of the handle a request; answers whether it was served.
using SimpleInvoke = std::function<bool(std::shared_ptr<void> handle, CString request)>;

/// Null when mimeTypes is empty; repeated types count once. Empty load or unload functions
/// are not checked: calling them throws std::bad_function_call.
/// An installer made of functions: load and unload an extension's content folder, and
/// hand requests to a loaded one.
/// \param mimeTypes The extension types it serves.
/// \param load Loads an extension's content folder.
/// \param unload Unloads what load returned.
/// \param invoke Hands a request to what load returned; may be empty.
/// \return The installer, or null.
OVX_API std::shared_ptr<const IExtensionInstaller> MakeSimpleFileExtensionInstaller(std::vector<CString> mimeTypes,
                                                                                     SimpleLoad load,
                                                                                     SimpleUnload unload,
                                                                                     SimpleInvoke invoke);

}  // namespace OvxComponent
