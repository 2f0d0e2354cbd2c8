// UiResourceVisitor: hands the UI modification and resource files of loaded extensions to
// the host's callbacks, all at once or one extension's as it loads.
//
// Part of the loader; works on the manager's records and the host's callbacks, and owns
// nothing itself.
#pragma once

#include "OvxComponent/extensions/loading/extension_installer.h"
#include "OvxComponent/extensions/loading/host_callbacks.h"
#include "extensions/loading/call_guard.h"
#include "extensions/loading/loaded_extension.h"
#include "extensions/log/extension_log.h"

#include <functional>
#include <optional>
#include <set>
#include <vector>

namespace OvxComponent {

// The host's callbacks for the files extensions carry, as the manager holds them; any may
// be empty.
struct HostFileCallbacks {
    const UiModifier& uiModifier;
    const std::function<void()>& uiReload;
    const ResourceLoader& resourceLoader;
    const std::vector<CString>& addonNames;
    const bool& uiModificationFlag;
};

class UiResourceVisitor {
public:
    UiResourceVisitor(ExtensionLog& log, const LoadedExtensions& loadedExtensions, HostFileCallbacks host,
                      CallGuard& calls)
        : m_log(log), m_loadedExtensions(loadedExtensions), m_host(host), m_calls(calls) {}

    // Calls visitor once with the files of every loaded extension. The call is noted as
    // the extension's when the files are one extension's alone.
    bool VisitUiModifications(const UiModifier& visitor) const;
    bool VisitResources(const ResourceLoader& visitor) const;

    // The steps of a load that hand one extension's files to the host's loader and
    // modifier; a callback that fails is logged and does not fail the load.
    void LoadResources(const OvxUtils::Guid& documentId, const CString& folder) const;
    void ApplyUiModifications(const OvxUtils::Guid& documentId, const CString& folder) const;

    bool HasUiModifications(const CString& folder) const;

private:
    ExtensionLog& m_log;
    const LoadedExtensions& m_loadedExtensions;
    HostFileCallbacks m_host;
    CallGuard& m_calls;
};

}  // namespace OvxComponent
