/// \file
/// The quarantine of extensions that took their host down. When the host's process dies
/// inside a call into an extension (its load or unload, or the visit of its UI or resource
/// files), the next start keeps that extension off and says so in the log, with an Error
/// entry that the failure report shows; everything else loads. The quarantine holds until
/// the extension's package changes, or the host releases it here, or the user with
/// `ovxext quarantine release --data DIR ID`. And when the user cannot reach a working
/// application all the same, a safe start keeps the extensions off for one session.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/manager/extension_manager.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/result.h"

#include <cstdint>
#include <vector>

namespace OvxComponent {

/// An extension in quarantine.
struct QuarantinedExtension {
    OvxUtils::Guid documentId;  ///< the extension
    CString call;               ///< "load", "unload", "UI visit" or "resource visit": the call the host died in
    std::int64_t time = 0;      ///< when that call began, in 100 ns ticks since 1970-01-01 UTC
    int crashes = 0;            ///< how often the host died in its calls since its package last changed
};

/// The extensions in quarantine now.
/// \param manager A manager made by MakeExtensionManager.
/// \return The extensions, by document ID.
OVX_API std::vector<QuarantinedExtension> QuarantinedExtensions(IExtensionManager& manager);

/// Lets an extension in quarantine load again; it loads at the next start, or at once when
/// the host calls StartLoading again.
/// \param manager A manager made by MakeExtensionManager.
/// \param documentId The extension.
/// \return Success, or why not (the extension is not in quarantine).
OVX_API OvxUtils::Result<void> ReleaseFromQuarantine(IExtensionManager& manager, const OvxUtils::Guid& documentId);

/// How often an extension must take the host down before it is kept off; 1 (the default)
/// keeps it off after the first time. Set before StartLoading.
/// \param manager A manager made by MakeExtensionManager.
/// \param crashes At least 1; a smaller value counts as 1.
OVX_API void SetQuarantineThreshold(IExtensionManager& manager, int crashes);

/// Keeps every extension off for the manager's life but those pinned (none by default):
/// a safe start, from which a user can always reach a working application. Call it before
/// StartLoading. The extensions kept off are logged as Warnings; nothing is deleted.
/// \param manager A manager made by MakeExtensionManager.
/// \param pinned The extensions that load all the same.
OVX_API void StartSafely(IExtensionManager& manager, const std::vector<OvxUtils::Guid>& pinned = {});

}  // namespace OvxComponent
