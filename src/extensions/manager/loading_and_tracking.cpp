// ExtensionManagerImpl: the start-up pass over unpacked extensions, the end of the loading
// phase with its verification, and the tracking of the source folders, whose changes are
// handed to the main thread as rescans.
#include "extensions/manager/extension_manager_impl.h"

#include "extensions/manager/install_layout.h"
#include "extensions/manager/install_repair.h"
#include "platform/directory_tracker/directories_changes_tracker.h"
#include "platform/system_io/file.h"
#include "platform/system_io/path.h"

#include <algorithm>
#include <atomic>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

// A file made, renamed or written.
constexpr unsigned long kSourceFolderChanges = 0x51;

}  // namespace

void ExtensionManagerImpl::RunInitialLoadingPass() {
    // A pass started from inside a pass (an installer registering while it is loaded)
    // returns at once.
    if (initialLoadingRunning) return;
    initialLoadingRunning = true;
    const CString manager(kManagerSubject);
    log.Information(manager, u"initial loading of unpacked extensions");

    std::optional<std::size_t> previousCount;
    while (true) {
        std::vector<UnpackedCandidate> candidates = extensionScanner.VerifyUnpacked(ExtensionScanner::Purpose::Loading);
        // An unusable installed copy has said why already; FinishLoading reports it.
        std::erase_if(candidates, [this](const UnpackedCandidate& candidate) {
            if (candidate.unusable) return true;
            const ExtensionContainerInfo* info = InfoOf(candidate.package);
            return info != nullptr && FindExtension(info->GetDocumentID()).has_value();
        });
        if (previousCount && *previousCount == candidates.size()) {
            log.Write(kPossibleInfiniteLoop, manager);
            break;
        }
        previousCount = candidates.size();
        bool progress = false;
        for (const UnpackedCandidate& candidate : candidates) {
            if (!candidate.package.container) {
                log.Write(kFileMissing, candidate.folder);
                continue;
            }
            const bool loaded = TryLoad(candidate.package).has_value();
            const OvxUtils::Guid documentId = InfoOf(candidate.package)->GetDocumentID();
            const bool found = FindExtension(documentId).has_value();
            if (loaded) {
                progress = true;
                if (!found) log.Write(kClaimedToLoad, candidate.folder);
            }
            if (!found) log.Information(candidate.folder, u"scan did not load extension");
        }
        if (!progress) break;
    }
    log.Write(kFinishedInitialLoading, manager);
    initialLoadingRunning = false;
    packageUnpacker.SaveVerified();
    NotifyFailures();
}

void ExtensionManagerImpl::FinishLoading() {
    initialLoadDone = true;
    bool cleared = false;
    for (const UnpackedCandidate& candidate : extensionScanner.VerifyUnpacked(ExtensionScanner::Purpose::Report)) {
        const ExtensionContainerInfo* info = InfoOf(candidate.package);
        if (info == nullptr) {
            const CString versionFolder = SystemIO::Path::GetParentFolder(candidate.folder);
            const SystemIO::HeldFile turn = InstallLayout::TakeInstallTurn(platformFolder);
            // Another session may have been installing this version: its copy is there now.
            if (!candidate.unusable && SystemIO::File::Exists(InstallLayout::InstalledCopy(versionFolder))) continue;
            log.Write(kCouldNotUnpack, candidate.folder);
            // Its source package, when there is one, is then unpacked afresh by a rescan.
            if (auto deleted = InstallRepair::DeleteVersion(versionFolder)) {
                log.Write(kClearedUnusableVersion, candidate.folder);
                cleared = true;
            } else {
                log.Reason(kCouldNotUnpack.level, candidate.folder, deleted.ErrorText());
                installRepair.LeaveWorkBehind();
            }
            continue;
        }
        const OvxUtils::Guid documentId = info->GetDocumentID();
        if (documentId.IsNull()) {
            log.Error(candidate.folder, u"Null guid found.");
            continue;
        }
        log.Associate(candidate.folder, documentId);
        if (!loadedExtensions.contains(documentId)) log.Write(kFailedToLoadFinal, documentId);
    }
    packageUnpacker.SaveVerified();
    // When tracking has begun, the source folders are scanned again now rather than at
    // their next change, so that a cleared version's package comes back at once.
    if (cleared && !trackers.empty()) {
        for (const ExtensionSourceFolder& source : sourceFolders) DispatchRescan(source.folder);
    }
    NotifyFailures();
}

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

}  // namespace OvxComponent
