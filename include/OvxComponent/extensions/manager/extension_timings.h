/// \file
/// How long the calls into each extension took: its load, its unload, and the visits of its
/// UI and resource files, as editors show their running extensions with their activation
/// times. A host may also set a budget per call, over which a Warning names the extension.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/manager/extension_manager.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"

#include <chrono>
#include <vector>

namespace OvxComponent {

/// The calls of one kind into one extension in this manager's life.
struct ExtensionTiming {
    OvxUtils::Guid documentId;         ///< the extension
    CString call;                      ///< "load", "unload", "UI visit" or "resource visit"
    int calls = 0;                     ///< how many
    std::chrono::nanoseconds total{};  ///< how long they took together
    std::chrono::nanoseconds longest{};///< the longest of them
};

/// The calls made so far, the slowest (by total time) first.
/// \param manager A manager made by MakeExtensionManager.
/// \return One row per extension and kind of call.
OVX_API std::vector<ExtensionTiming> ExtensionTimings(IExtensionManager& manager);

/// A call into an extension that takes longer than budget is logged as a Warning under the
/// extension; zero (the default) sets no budget.
/// \param manager A manager made by MakeExtensionManager.
/// \param budget The longest a call may take without a warning.
OVX_API void SetCallBudget(IExtensionManager& manager, std::chrono::milliseconds budget);

}  // namespace OvxComponent
