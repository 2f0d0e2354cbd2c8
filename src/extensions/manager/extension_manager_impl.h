// ExtensionManagerImpl: the extension manager behind IExtensionManager.
//
// Made by MakeExtensionManager and shared-owned by the host. It takes no lock: every
// operation runs on the host's main thread, and directory-change callbacks, which run on
// the tracker's thread, hold only a weak reference and hand their work to the host's
// main-thread dispatch.
//
// The manager holds the state that its interface describes (the installers, the loaded
// records, the folders, the flags, the host's callbacks and the log); the logic of each
// concern is a long-lived part, made with the manager, that owns whatever else it keeps:
//   extensions/loading/installer_registry    registering installers by MIME type
//   extensions/loading/extension_loader      loading and unloading through installers
//   extensions/loading/ui_resource_visitor   handing UI and resource files to the host
//   extensions/loading/call_guard            noting the call into an extension in flight
//   extensions/manager/quarantine            keeping off the extensions that took the host down
//   extensions/manager/session_gate          what keeps extensions off: a safe start, the quarantine
//   extensions/manager/install_repair        the session, and repairing what a crash left
//   extensions/manager/package_unpacker      opening, the unpack decision, unpacking; it
//                                            owns the trust policy, the package records,
//                                            the refusals and the verification record
//   extensions/manager/extension_scanner     the verification scan and the source scan
//   extensions/manager/source_rescan         rescans, auto loading and removal
// The manager's own files compose them: extension_manager_impl.cpp (construction, the
// small operations and the delegation to the parts) and loading_and_tracking.cpp (the
// start-up pass, the end of loading, and the tracking of the source folders).
// The class is internal: hosts hold IExtensionManager; the project's tests and tools,
// which link the library statically, drive the steps that the interface runs as a whole.
#pragma once

#include "OvxComponent/extensions/manager/extension_manager.h"
#include "extensions/loading/extension_loader.h"
#include "extensions/loading/installer_registry.h"
#include "extensions/loading/loaded_extension.h"
#include "extensions/loading/ui_resource_visitor.h"
#include "extensions/log/extension_log.h"
#include "extensions/manager/install_repair.h"
#include "extensions/manager/quarantine.h"
#include "extensions/manager/session_gate.h"
#include "extensions/manager/extension_scanner.h"
#include "extensions/manager/package_unpacker.h"
#include "extensions/manager/source_rescan.h"
#include "platform/directory_tracker/directories_changes_tracker.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace OvxComponent {

class ExtensionManagerImpl final : public IExtensionManager,
                                           public std::enable_shared_from_this<ExtensionManagerImpl> {
    struct Passkey {};

public:
    ExtensionManagerImpl(Passkey, const CString& rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sources,
                         std::function<void(OvxUtils::Delegate<void()>)> dispatch,
                         std::function<bool(CString)> requirementText,
                         std::function<bool(ExtensionAppSupport)> appSupported,
                         OvxUtils::array_view<const CString> addonNames, OvxUtils::NamedOutStream logStream,
                         Trust::TrustStore trust);
    static std::shared_ptr<ExtensionManagerImpl> Make(
        const CString& rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sources,
        std::function<void(OvxUtils::Delegate<void()>)> dispatch, std::function<bool(CString)> requirementText,
        std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
        OvxUtils::NamedOutStream logStream, Trust::TrustStore trust = {});

    // Writes what the session verified; the install repair ends the session.
    ~ExtensionManagerImpl() override;

    // IExtensionManager
    UnloadOutcome UnloadExtension(std::shared_ptr<IExtensionState> state, bool skipUiReload) override;
    std::optional<std::shared_ptr<IExtensionState>> FindExtension(const OvxUtils::Guid& documentId) override;
    std::shared_ptr<const IExtensionInstaller> RegisterInstaller(
        std::set<CString> mimeTypes, std::shared_ptr<const IExtensionInstaller> installer) override;
    CString GetPlatformFolder() const override;
    std::vector<ExtensionSourceFolder> GetSourceFolders() const override;
    void StartLoading() override;
    void TrackSourceFolders() override;
    void SetUiModificationFlag() override;
    void ClearUiModificationFlag() override;
    bool VisitUiModifications(UiModifier visitor) override;
    void SetUiHandlers(UiModifier modifier, std::function<void()> reload) override;
    bool VisitResources(ResourceLoader visitor) override;
    void SetResourceLoader(ResourceLoader loader) override;
    void ReportFailures(FailureReport report) override;
    void SetFailureNotifier(std::function<void(std::shared_ptr<IExtensionManager>)> notifier) override;
    void ClearFailures() override;
    void FinishLoading() override;
    std::vector<UnloadOutcome> UnloadAll() override;
    std::vector<CString> GetPendingItems() const override;

    // Opening and unpacking (see PackageUnpacker).
    OpenResult OpenPackage(const CString& path, PackageUse use = PackageUse::Readable);
    OvxUtils::Result<void> ShouldUnpack(const OpenedPackage& package, std::uint64_t packageTime);
    OpenResult Unpack(const OpenedPackage& package, const CString& installFolder);

    // Loading (see ExtensionLoader).
    std::optional<LoadedExtension> TryLoad(const OpenedPackage& unpacked);
    LoadOutcome LoadIfReady(OpenedPackage unpacked);
    OvxUtils::Result<LoadedExtension> LoadFromPath(OpenedPackage unpacked);

    // The start-up pass (see ExtensionScanner for its scan).
    void RunInitialLoadingPass();

    // Change tracking (see SourceRescan).
    void Rescan(const CString& folder);
    void AutoLoad(const CString& path);
    UnloadOutcome RemoveExtension(const OvxUtils::Guid& documentId);

    Quarantine& Quarantined() { return quarantine; }
    SessionGate& Gate() { return sessionGate; }
    CallGuard& Calls() { return callGuard; }

    // Whether the host supports an application; asked on the main thread only.
    bool SupportsApplication(ExtensionAppSupport application) const { return appSupported && appSupported(application); }

    const ExtensionLog& Log() const { return log; }
    ExtensionLog& Log() { return log; }

private:
    // Hands a rescan of folder to the main thread; any thread. pending, when given, is
    // cleared as the rescan starts (see TrackSourceFolders).
    void DispatchRescan(const CString& folder, std::shared_ptr<std::atomic<bool>> pending = nullptr);
    // Calls the failure notifier when failures are recorded; any thread.
    void NotifyFailures();

    InstallerTable installers;
    LoadedExtensions loadedExtensions;
    CString platformFolder;
    std::vector<ExtensionSourceFolder> sourceFolders;
    std::vector<std::unique_ptr<void*, OvxUtils::StopTrackingHelper>> trackers;
    std::function<void(OvxUtils::Delegate<void()>)> dispatchToMainThread;
    std::vector<CString> pendingItems;  // nothing fills it in this version
    bool initialLoadingRunning = false;
    bool loaderActive = false;
    bool initialLoadDone = false;
    std::function<void(std::shared_ptr<IExtensionManager>)> failureNotifier;
    // The one piece of state that change callbacks read on the tracker's thread while the
    // host may replace it on the main thread.
    mutable std::mutex failureNotifierMutex;
    bool uiModificationFlag = false;
    std::function<bool(CString)> requirementText;
    std::function<bool(ExtensionAppSupport)> appSupported;
    UiModifier uiModifier;
    std::function<void()> uiReload;
    ResourceLoader resourceLoader;
    std::vector<CString> addonNames;
    ExtensionLog log;
    // The parts, made once, each after those it works through.
    CallGuard callGuard;
    Quarantine quarantine;
    SessionGate sessionGate;
    InstallRepair installRepair;
    PackageUnpacker packageUnpacker;
    ExtensionLoader extensionLoader;
    ExtensionScanner extensionScanner;
    SourceRescan sourceRescan;
};

}  // namespace OvxComponent
