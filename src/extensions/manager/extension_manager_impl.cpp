// ExtensionManagerImpl: construction and the small operations.
#include "extensions/manager/extension_manager_impl.h"

#include "extensions/manager/install_layout.h"
#include "extensions/manager/install_repair.h"
#include "platform/system_io/folder.h"

#include <algorithm>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;

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
                                           OvxUtils::NamedOutStream logStream)
    : platformFolder(InstallLayout::PlatformFolder(rootFolder)),
      sourceFolders(sources.begin(), sources.end()),
      dispatchToMainThread(std::move(dispatch)),
      requirementText(std::move(requirementTextCheck)),
      appSupported(std::move(appSupportedCheck)),
      addonNames(addons.begin(), addons.end()),
      log(LogOutput(platformFolder, std::move(logStream))) {
    // The platform folder is the manager's own: it is made when the data folder exists, so
    // that the log file can be written from the start. A missing data folder is left
    // alone; the log then lives in memory until the folder appears.
    if (SystemIO::Folder::Exists(rootFolder)) SystemIO::Folder::EnsureExists(platformFolder);
    log.OpenOutput();
}

ExtensionManagerImpl::~ExtensionManagerImpl() {
    if (installRepairDone && !leftWorkBehind) InstallRepair::EndSession(platformFolder);
}

std::shared_ptr<ExtensionManagerImpl> ExtensionManagerImpl::Make(
    const CString& rootFolder, OvxUtils::array_view<const ExtensionSourceFolder> sources,
    std::function<void(OvxUtils::Delegate<void()>)> dispatch, std::function<bool(CString)> requirementText,
    std::function<bool(ExtensionAppSupport)> appSupported, OvxUtils::array_view<const CString> addonNames,
    OvxUtils::NamedOutStream logStream) {
    return std::make_shared<ExtensionManagerImpl>(Passkey{}, rootFolder, sources, std::move(dispatch),
                                                  std::move(requirementText), std::move(appSupported), addonNames,
                                                  std::move(logStream));
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

const ExtensionContainerInfo* ExtensionManagerImpl::InfoOf(const OpenedPackage& package) const {
    return package.container ? package.container->GetInfo() : nullptr;
}

}  // namespace OvxComponent
