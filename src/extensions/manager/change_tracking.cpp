// ExtensionManagerImpl: rescans of source folders after changes, auto loading of new
// packages, and removal of extensions whose package has gone.
#include "extensions/manager/extension_manager_impl.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "extensions/manager/debugger_output.h"
#include "extensions/manager/install_layout.h"
#include "platform/directory_tracker/directories_changes_tracker.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <atomic>
#include <set>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;
using OvxUtils::Error;

// A file made, renamed or written.
constexpr unsigned long kSourceFolderChanges = 0x51;

// The files that a rescan treats as packages.
bool IsPackageFile(const CString& path) {
    return SystemIO::Path::HasExtension(path, Get_Extension_FileExtension());
}

}  // namespace

void ExtensionManagerImpl::TrackSourceFolders() {
    if (!trackers.empty()) {
        log.Write(kNoLongerTracking, CString(kManagerSubject));
        trackers.clear();  // each handle's release stops its tracking
    }
    trackers.reserve(sourceFolders.size());
    for (const ExtensionSourceFolder& source : sourceFolders) {
        log.Information(source.folder, u"tracking changes here");
        // Runs on the tracker's thread: it holds the manager only weakly and hands the
        // rescan to the main thread. A burst of changes costs one rescan, not one each:
        // while a rescan of the folder waits to run, further changes find it pending and
        // dispatch nothing; once it has started, the next change dispatches one more.
        auto changed = [weakManager = weak_from_this(), folder = source.folder,
                        pending = std::make_shared<std::atomic<bool>>(false)] {
            const std::shared_ptr<ExtensionManagerImpl> self = weakManager.lock();
            if (!self) return;
            if (self->dispatchToMainThread && !pending->exchange(true)) self->DispatchRescan(folder, pending);
            self->NotifyFailures();
        };
        changed();  // the first scan of the folder
        trackers.push_back(OvxUtils::CDirectoriesChangesTracker::TrackChangeIn(
            source.folder, 0, kSourceFolderChanges, std::move(changed), OvxUtils::BlameTracker{u"extension manager"}));
    }
}

void ExtensionManagerImpl::DispatchRescan(const CString& folder, std::shared_ptr<std::atomic<bool>> pending) {
    if (!dispatchToMainThread) return;
    dispatchToMainThread([weakManager = weak_from_this(), folder, pending = std::move(pending)] {
        if (pending) pending->store(false);
        if (const auto manager = weakManager.lock()) manager->Rescan(folder);
    });
}

void ExtensionManagerImpl::Rescan(const CString& folder) {
    log.Information(CString(kManagerSubject), u"changes detected, scanning for changes");
    packageCache.BeginScan();
    for (const CString& path : SystemIO::Folder::GetFiles(folder, true)) {
        if (!IsPackageFile(path)) continue;
        log.Information(path, u"should I load?");
        auto package = OpenPackage(path, PackageUse::RecordOnly);
        const bool unpack = package && ShouldUnpack(*package, package->fileTime).HasValue();
        if (unpack) {
            log.Information(path, u"unpacking...");
            AutoLoad(path);
        } else {
            log.Write(kRedundantUnpackCheck, path);
        }
    }

    std::set<OvxUtils::Guid> present;
    for (const OpenedPackage& package : ScanSourceFolders()) present.insert(InfoOf(package)->GetDocumentID());
    for (const UnpackedCandidate& candidate : VerifyUnpacked(false, PackageUse::RecordOnly)) {
        const ExtensionContainerInfo* info = InfoOf(candidate.package);
        if (info == nullptr || present.contains(info->GetDocumentID())) continue;
        log.Information(candidate.folder, u"removing extension");
        static_cast<void>(RemoveExtension(info->GetDocumentID()));  // its outcome is in the log
    }
    packageCache.EndScan();
}

void ExtensionManagerImpl::AutoLoad(const CString& path) {
    const auto fail = [&](const CString& text) {
        log.Warning(path, text);
        WriteDebuggerOutput(text + u"\n");
    };
    auto package = OpenPackage(path);
    if (!package) return fail(package.ErrorText());
    if (auto decision = ShouldUnpack(*package, package->fileTime); !decision) {
        return fail(decision.ErrorText());
    }
    auto unpacked = Unpack(*package, platformFolder);
    if (!unpacked) return fail(unpacked.ErrorText());

    if (loaderActive) {
        if (TryLoad(*unpacked)) {
            log.Write(kAutoLoaded, path);
        } else {
            log.Error(path, u"auto load failed");
        }
    } else if (initialLoadDone) {
        log.Write(kAutoLoadDisabled, path);
    }
}

UnloadOutcome ExtensionManagerImpl::RemoveExtension(const OvxUtils::Guid& documentId) {
    log.Write(kRemovingExtension, documentId);
    const CString extensionFolder = InstallLayout::ExtensionFolder(platformFolder, documentId);
    if (const auto state = FindExtension(documentId)) {
        UnloadOutcome unloaded = UnloadExtension(*state, false);
        if (!unloaded) return Error{log.Information(documentId, unloaded.ErrorText())};
        if (*unloaded == UnloadResult::Delayed) {
            log.Write(kUnloadDelayed, documentId);
            return UnloadResult::Delayed;
        }
    }
    if (!SystemIO::Folder::Exists(extensionFolder)) return Error{log.Warning(documentId, u"Extension not found")};
    if (auto deleted = SystemIO::Folder::DeleteTree(extensionFolder); !deleted) {
        const CString text = log.Write(kCannotDeleteData, documentId);
        log.Reason(kCannotDeleteData.level, documentId, deleted.ErrorText());
        leftWorkBehind = true;
        return Error{text};
    }
    log.Information(documentId, u"unload successful");
    return UnloadResult::Unloaded;
}

}  // namespace OvxComponent
