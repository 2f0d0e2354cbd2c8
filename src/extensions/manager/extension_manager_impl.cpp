// ExtensionManagerImpl: construction, the small operations, and the operations that the
// parts carry out on the manager's members.
#include "extensions/manager/extension_manager_impl.h"

#include "OvxComponent/extensions/manager/extension_timings.h"
#include "OvxComponent/extensions/manager/quarantine.h"
#include "extensions/manager/install_layout.h"
#include "platform/system_io/folder.h"

#include <algorithm>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

OvxUtils::NamedOutStream LogOutput(const CString& platformFolder, OvxUtils::NamedOutStream requested) {
    if (requested.stream) return requested;
    return {std::move(requested.name), InstallLayout::LogFile(platformFolder), nullptr};
}

}  // namespace

ExtensionManagerImpl::ExtensionManagerImpl(Passkey, const CString& rootFolder,
                                           OvxUtils::array_view<const ExtensionSourceFolder> sources,
                                           std::function<void(OvxUtils::Delegate<void()>)> dispatch,
                                           std::function<bool(CString)> requirementTextCheck,
                                           std::function<bool(ExtensionAppSupport)> appSupportedCheck,
                                           OvxUtils::array_view<const CString> addons,
                                           OvxUtils::NamedOutStream logStream, Trust::TrustStore trustStore)
    : platformFolder(InstallLayout::PlatformFolder(rootFolder)),
      sourceFolders(sources.begin(), sources.end()),
      dispatchToMainThread(std::move(dispatch)),
      requirementText(std::move(requirementTextCheck)),
      appSupported(std::move(appSupportedCheck)),
      addonNames(addons.begin(), addons.end()),
      log(LogOutput(platformFolder, std::move(logStream))),
      callGuard(log),
      quarantine(&log, platformFolder),
      sessionGate(log, quarantine),
      installRepair(log, platformFolder, callGuard, quarantine),
      packageUnpacker(log, platformFolder, {requirementText, appSupported}, loadedExtensions, installRepair,
                      std::move(trustStore)),
      extensionLoader(log, installers, loadedExtensions, {loaderActive, initialLoadDone},
             {uiModifier, uiReload, resourceLoader, addonNames, uiModificationFlag}, callGuard, sessionGate),
      extensionScanner(log, sourceFolders, installRepair, packageUnpacker, extensionLoader),
      sourceRescan(log, installRepair, packageUnpacker, extensionLoader, extensionScanner) {
    // The platform folder is the manager's own: it is made when the data folder exists, so
    // that the log file can be written from the start. A missing data folder is left
    // alone, and a platform folder that cannot be made too: the log then lives in memory
    // until the folder appears.
    if (SystemIO::Folder::Exists(rootFolder)) static_cast<void>(SystemIO::Folder::EnsureExists(platformFolder));
    log.OpenOutput();
}

ExtensionManagerImpl::~ExtensionManagerImpl() { packageUnpacker.SaveVerified(); }

std::shared_ptr<ExtensionManagerImpl> ExtensionManagerImpl::Make(
    const CString& rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sources,
    std::function<void(OvxUtils::Delegate<void()>)> dispatch, std::function<bool(CString)> requirementText,
    std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
    OvxUtils::NamedOutStream logStream, Trust::TrustStore trust) {
    return std::make_shared<ExtensionManagerImpl>(Passkey{}, rootFolder, sources, std::move(dispatch),
                                                  std::move(requirementText), std::move(appSupported), addonNames,
                                                  std::move(logStream), std::move(trust));
}

std::shared_ptr<IExtensionManager> MakeExtensionManager(
    CString rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sourceFolders,
    std::function<void(OvxUtils::Delegate<void()>)> dispatchToMainThread, std::function<bool(CString)> requirementText,
    std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
    OvxUtils::NamedOutStream logStream) {
    return ExtensionManagerImpl::Make(rootFolder, sourceFolders, std::move(dispatchToMainThread),
                                      std::move(requirementText), std::move(appSupported), addonNames,
                                      std::move(logStream));
}

OvxUtils::Result<std::shared_ptr<IExtensionManager>> MakeExtensionManager(
    CString rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sourceFolders,
    std::function<void(OvxUtils::Delegate<void()>)> dispatchToMainThread, std::function<bool(CString)> requirementText,
    std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
    OvxUtils::NamedOutStream logStream, const TrustPolicy& trustPolicy) {
    auto trust = Trust::TrustStore::Make(trustPolicy);
    if (!trust) return trust.TakeError();
    return std::shared_ptr<IExtensionManager>(ExtensionManagerImpl::Make(
        rootFolder, sourceFolders, std::move(dispatchToMainThread), std::move(requirementText),
        std::move(appSupported), addonNames, std::move(logStream), std::move(*trust)));
}

CString ExtensionManagerImpl::GetPlatformFolder() const { return platformFolder; }

std::vector<ExtensionSourceFolder> ExtensionManagerImpl::GetSourceFolders() const { return sourceFolders; }

void ExtensionManagerImpl::StartLoading() {
    loaderActive = true;
    RunInitialLoadingPass();
}

void ExtensionManagerImpl::SetUiModificationFlag() { uiModificationFlag = true; }

void ExtensionManagerImpl::ClearUiModificationFlag() { uiModificationFlag = false; }

void ExtensionManagerImpl::ReportFailures(FailureReport report) {
    std::vector<ExtensionLogEntry> entries;
    for (const CString& name : log.FailedNames()) {
        auto history = log.EntriesFor(name);
        entries.insert(entries.end(), std::make_move_iterator(history.begin()), std::make_move_iterator(history.end()));
    }
    for (const OvxUtils::Guid& guid : log.FailedGuids()) {
        auto history = log.EntriesFor(guid);
        entries.insert(entries.end(), std::make_move_iterator(history.begin()), std::make_move_iterator(history.end()));
    }
    // One story, oldest first, whichever subject an entry was written under.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const ExtensionLogEntry& a, const ExtensionLogEntry& b) { return a.time < b.time; });
    FailureReport callback = std::move(report);  // released when this call ends
    callback(entries, log.OutputName());
}

void ExtensionManagerImpl::SetFailureNotifier(std::function<void(std::shared_ptr<IExtensionManager>)> notifier) {
    {
        std::lock_guard lock(failureNotifierMutex);
        failureNotifier = std::move(notifier);
    }
    NotifyFailures();
}

void ExtensionManagerImpl::NotifyFailures() {
    if (!log.HasFailures()) return;
    std::function<void(std::shared_ptr<IExtensionManager>)> notifier;
    {
        std::lock_guard lock(failureNotifierMutex);
        notifier = failureNotifier;
    }
    if (notifier) notifier(shared_from_this());
}

void ExtensionManagerImpl::ClearFailures() { log.AcknowledgeFailures(); }

std::vector<CString> ExtensionManagerImpl::GetPendingItems() const { return pendingItems; }

std::shared_ptr<const IExtensionInstaller> ExtensionManagerImpl::RegisterInstaller(
    std::set<CString> mimeTypes, std::shared_ptr<const IExtensionInstaller> installer) {
    // Releasing the registration unloads the installer's extensions, while the manager lives.
    auto onRelease = [weakManager = weak_from_this()](const std::set<CString>& types,
                                                      const std::shared_ptr<const IExtensionInstaller>& released) {
        if (const auto self = weakManager.lock()) self->extensionLoader.UnloadServedBy(types, *released);
    };
    auto registration = InstallerRegistry(installers, log).Register(mimeTypes, std::move(installer), std::move(onRelease));
    if (registration && loaderActive) {
        log.Write(kNewInstallerScanning, CString(kManagerSubject));
        RunInitialLoadingPass();
    }
    return registration;
}

OpenResult ExtensionManagerImpl::OpenPackage(const CString& path, PackageUse use) {
    return packageUnpacker.Open(path, use);
}

OvxUtils::Result<void> ExtensionManagerImpl::ShouldUnpack(const OpenedPackage& package, std::uint64_t packageTime) {
    return packageUnpacker.ShouldUnpack(package, packageTime);
}

OpenResult ExtensionManagerImpl::Unpack(const OpenedPackage& package, const CString& installFolder) {
    return packageUnpacker.Unpack(package, installFolder);
}

void ExtensionManagerImpl::Rescan(const CString& folder) { sourceRescan.Rescan(folder); }

void ExtensionManagerImpl::AutoLoad(const CString& path) {
    sourceRescan.AutoLoad(path);
    packageUnpacker.SaveVerified();
}

UnloadOutcome ExtensionManagerImpl::RemoveExtension(const OvxUtils::Guid& documentId) {
    return sourceRescan.RemoveExtension(documentId);
}

std::optional<LoadedExtension> ExtensionManagerImpl::TryLoad(const OpenedPackage& unpacked) {
    return extensionLoader.TryLoad(unpacked);
}

LoadOutcome ExtensionManagerImpl::LoadIfReady(OpenedPackage unpacked) {
    return extensionLoader.LoadIfReady(std::move(unpacked));
}

OvxUtils::Result<LoadedExtension> ExtensionManagerImpl::LoadFromPath(OpenedPackage unpacked) {
    return extensionLoader.LoadFromPath(std::move(unpacked));
}

UnloadOutcome ExtensionManagerImpl::UnloadExtension(std::shared_ptr<IExtensionState> state, bool skipUiReload) {
    return extensionLoader.Unload(std::move(state), skipUiReload);
}

std::optional<std::shared_ptr<IExtensionState>> ExtensionManagerImpl::FindExtension(const OvxUtils::Guid& documentId) {
    return extensionLoader.Find(documentId);
}

std::vector<UnloadOutcome> ExtensionManagerImpl::UnloadAll() { return extensionLoader.UnloadAll(); }

bool ExtensionManagerImpl::VisitUiModifications(UiModifier visitor) {
    return extensionLoader.Files().VisitUiModifications(visitor);
}

bool ExtensionManagerImpl::VisitResources(ResourceLoader visitor) {
    return extensionLoader.Files().VisitResources(visitor);
}

void ExtensionManagerImpl::SetUiHandlers(UiModifier modifier, std::function<void()> reload) {
    // Extensions loaded before the host had a modifier get their UI files now, once.
    if (!uiModifier && modifier) VisitUiModifications(modifier);
    uiModifier = std::move(modifier);
    uiReload = std::move(reload);
}

void ExtensionManagerImpl::SetResourceLoader(ResourceLoader loader) {
    if (!resourceLoader && loader) VisitResources(loader);
    resourceLoader = std::move(loader);
}

std::vector<QuarantinedExtension> QuarantinedExtensions(IExtensionManager& manager) {
    auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager);
    return impl != nullptr ? impl->Quarantined().List() : std::vector<QuarantinedExtension>();
}

OvxUtils::Result<void> ReleaseFromQuarantine(IExtensionManager& manager, const OvxUtils::Guid& documentId) {
    auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager);
    if (impl == nullptr) return OvxUtils::Error{u"the manager was not made by MakeExtensionManager"};
    if (!impl->Quarantined().Release(documentId)) {
        return OvxUtils::Error{documentId.ToString() + u" is not in quarantine"};
    }
    return {};
}

void SetQuarantineThreshold(IExtensionManager& manager, int crashes) {
    if (auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager)) impl->Quarantined().SetThreshold(crashes);
}

void StartSafely(IExtensionManager& manager, const std::vector<OvxUtils::Guid>& pinned) {
    if (auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager)) {
        impl->Gate().StartSafely(std::set<OvxUtils::Guid>(pinned.begin(), pinned.end()));
    }
}

std::vector<ExtensionTiming> ExtensionTimings(IExtensionManager& manager) {
    std::vector<ExtensionTiming> timings;
    auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager);
    if (impl == nullptr) return timings;
    for (const auto& [id, times] : impl->Calls().Times()) {
        for (const auto& [call, total] : times.byCall) {
            timings.push_back({id, CallText(call), total.calls, total.time, total.longest});
        }
    }
    std::stable_sort(timings.begin(), timings.end(),
                     [](const ExtensionTiming& a, const ExtensionTiming& b) { return a.total > b.total; });
    return timings;
}

void SetCallBudget(IExtensionManager& manager, std::chrono::milliseconds budget) {
    if (auto* impl = dynamic_cast<ExtensionManagerImpl*>(&manager)) impl->Calls().SetBudget(budget);
}

}  // namespace OvxComponent
