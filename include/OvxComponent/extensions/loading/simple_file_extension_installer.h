// MakeSimpleFileExtensionInstaller: a complete installer made of three host functions, for
// extensions that are plain files.
//
// The host functions see only the extension's "content" folder: load gets it and returns
// an opaque handle (null: the extension did not load), unload gets it with the handle
// (which it may reset or replace) and answers as an installer does, invoke forwards a
// request to a loaded extension. Nothing is logged here; the manager logs.
#pragma once

#include "OvxComponent/extensions/loading/extension_installer.h"

#include <functional>
#include <memory>
#include <vector>

namespace OvxComponent {

using SimpleLoad = std::function<std::shared_ptr<void>(CString contentFolder)>;
using SimpleUnload = std::function<OvxUtils::optional<UnloadResult>(CString contentFolder, std::shared_ptr<void>& handle)>;
using SimpleInvoke = std::function<bool(std::shared_ptr<void> handle, CString request)>;

// Null when mimeTypes is empty; repeated types count once. Empty load or unload functions
// are not checked: calling them throws std::bad_function_call.
OVX_API std::shared_ptr<const IExtensionInstaller> MakeSimpleFileExtensionInstaller(std::vector<CString> mimeTypes,
                                                                                     SimpleLoad load,
                                                                                     SimpleUnload unload,
                                                                                     SimpleInvoke invoke);

}  // namespace OvxComponent
