// ExtensionLoader: brings unpacked extensions into the host through their installers, and
// unloads them.
//
// A long-lived part of the manager. The records it loads into, the installer table, the
// loading phase and the host's callbacks are the manager's members; it works on them and
// adds no state of its own.
#pragma once

#include "OvxComponent/extensions/loading/extension_installer.h"
#include "OvxComponent/extensions/loading/host_callbacks.h"
#include "extensions/loading/call_guard.h"
#include "extensions/loading/installer_registry.h"
#include "extensions/loading/loaded_extension.h"
#include "extensions/loading/ui_resource_visitor.h"
#include "extensions/log/extension_log.h"

#include <optional>
#include <set>
#include <vector>

namespace OvxComponent {

// The manager's loading phase: loaderActive once the host started loading, and
// initialLoadDone once it finished; from then on a load that does not happen is a failure.
struct LoadingPhase {
    const bool& loaderActive;
    const bool& initialLoadDone;
};

// What may keep an extension off although its installer is there (the manager's
// quarantine): the refusal, logged already, or nothing to let it load.
class LoadGate {
public:
    virtual std::optional<CString> Refuse(const OvxUtils::Guid& documentId) = 0;

protected:
    ~LoadGate() = default;
};

class ExtensionLoader {
public:
    ExtensionLoader(ExtensionLog& log, const InstallerTable& installers, LoadedExtensions& loadedExtensions,
                    LoadingPhase phase, HostFileCallbacks host, CallGuard& calls, LoadGate& gate)
        : m_log(log), m_installers(installers), m_loadedExtensions(loadedExtensions), m_phase(phase),
          m_files(log, loadedExtensions, host, calls), m_uiReload(host.uiReload), m_calls(calls), m_gate(gate) {}
    ExtensionLoader(const ExtensionLoader&) = delete;
    ExtensionLoader& operator=(const ExtensionLoader&) = delete;

    // Loads when it can; nothing when the extension stays unpacked or fails.
    std::optional<LoadedExtension> TryLoad(const OpenedPackage& unpacked);
    // Loads when the loader is active and the extension's installer is alive; otherwise
    // the extension waits.
    LoadOutcome LoadIfReady(OpenedPackage unpacked);
    // Loads through the installer of the extension's type, or fails.
    OvxUtils::Result<LoadedExtension> LoadFromPath(OpenedPackage unpacked);

    UnloadOutcome Unload(std::shared_ptr<IExtensionState> state, bool skipUiReload);
    std::optional<std::shared_ptr<IExtensionState>> Find(const OvxUtils::Guid& documentId) const;
    std::vector<UnloadOutcome> UnloadAll();
    LoadingPhase Phase() const { return m_phase; }
    // The host's UI modification and resource files of the loaded extensions.
    const UiResourceVisitor& Files() const { return m_files; }
    // Unloads every extension of mimeTypes through installer, whose registration the host
    // has just released, and reloads the UI once when one of them had UI files.
    void UnloadServedBy(const std::set<CString>& mimeTypes, const IExtensionInstaller& installer);

private:
    ExtensionLog& m_log;
    const InstallerTable& m_installers;
    LoadedExtensions& m_loadedExtensions;
    LoadingPhase m_phase;
    UiResourceVisitor m_files;
    const std::function<void()>& m_uiReload;
    CallGuard& m_calls;  // notes each call into an extension while it runs
    LoadGate& m_gate;
};

}  // namespace OvxComponent
