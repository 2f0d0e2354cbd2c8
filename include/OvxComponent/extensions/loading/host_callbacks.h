/// \file
/// What loading and unloading hand back and call: the outcome of an unload, and the host's
/// callbacks for the UI modification and resource files that extensions carry.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/loading/ui_resource_files.h"
#include "OvxComponent/extensions/loading/unload_result.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <functional>
#include <vector>

namespace OvxComponent {

/// An installer's answer to an unload, or the text of the failure that kept it from asking.
using UnloadOutcome = OvxUtils::Result<UnloadResult>;

/// The host's callbacks for the files that extensions carry (see ui_resource_files.h).
/// The UI modifier gets the application-UI files, the user-UI files and the manager's UI
/// modification flag; both answer whether they succeeded.
using UiModifier = std::function<bool(const std::vector<UiModification>& application,
                                      const std::vector<UiModification>& user, bool uiModificationFlag)>;
/// The host's loader of the resource files of extensions; answers whether it succeeded.
using ResourceLoader = std::function<bool(const std::vector<CString>& files)>;

}  // namespace OvxComponent
