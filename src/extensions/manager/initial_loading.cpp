// ExtensionManagerImpl: the start-up pass over unpacked extensions, their verification
// when loading is finished, and the scan of the source folders.
#include "extensions/manager/extension_manager_impl.h"

#include "extensions/manager/install_layout.h"
#include "extensions/manager/install_repair.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <algorithm>
#include <utility>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

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
        std::vector<UnpackedCandidate> candidates = VerifyUnpacked(true);
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
    NotifyFailures();
}

std::vector<ExtensionManagerImpl::UnpackedCandidate> ExtensionManagerImpl::VerifyUnpacked(bool skipLoaded,
                                                                                        PackageUse use) {
    std::vector<UnpackedCandidate> verified;
    if (!SystemIO::Folder::Exists(platformFolder)) return verified;
    // The first scan of the manager's life repairs what a crash may have left: thoroughly
    // when the last session did not end cleanly.
    const bool repair = !std::exchange(installRepairDone, true);
    const auto depth = repair ? InstallRepair::BeginSession(platformFolder) : InstallRepair::Depth::Quick;
    const bool sweep = repair && depth == InstallRepair::Depth::Thorough;
    if (sweep) {
        log.Write(kThoroughRepair, CString(kManagerSubject));
        if (!InstallRepair::SweepFolder(log, platformFolder)) leftWorkBehind = true;
    }
    for (const CString& extensionFolder : SystemIO::Folder::GetSubfolders(platformFolder, false)) {
        const CString folderName = SystemIO::Path::GetFileName(extensionFolder);
        const std::optional<OvxUtils::Guid> folderId = OvxUtils::Guid::FromString(folderName);
        if (!folderId) continue;
        // An extension that is loaded is not opened again just to be left out.
        if (skipLoaded && FindExtension(*folderId)) continue;
        if (sweep && !InstallRepair::SweepFolder(log, extensionFolder)) leftWorkBehind = true;
        for (const InstallLayout::ExistingCopy& copy : InstallLayout::ExistingCopies(extensionFolder)) {
            const CString versionFolder = SystemIO::Path::GetParentFolder(copy.installedCopy);
            const CString versionName = SystemIO::Path::GetFileName(versionFolder);
            if (!OvxUtils::Version::TryParse(versionName)) continue;
            if (sweep && !InstallRepair::SweepFolder(log, versionFolder)) leftWorkBehind = true;
            const CString unpackedFolder = InstallLayout::UnpackedFolder(versionFolder);
            if (!SystemIO::File::Exists(copy.installedCopy)) {
                log.Warning(unpackedFolder, u"File does not exist: " + copy.installedCopy);
                verified.push_back({unpackedFolder, {nullptr, unpackedFolder}});
                continue;
            }
            // The repair needs the archive; after it, a record answers what is asked here.
            auto installed = OpenPackage(copy.installedCopy, repair ? PackageUse::Readable : use);
            if (!installed) {
                verified.push_back({unpackedFolder, {nullptr, unpackedFolder}, true});
                continue;
            }
            const ExtensionContainerInfo& info = *InfoOf(*installed);
            bool mismatch = false;
            if (info.GetDocumentID().ToString() != folderName) {
                log.Write(kGuidMismatch, unpackedFolder);
                mismatch = true;
            }
            if (info.GetVersionAsString() != versionName) {
                log.Write(kVersionMismatch, unpackedFolder);
                mismatch = true;
            }
            if (mismatch) continue;
            if (repair && !InstallRepair::IsComplete(installed->container->Container(), unpackedFolder, depth)) {
                if (auto extracted = InstallRepair::ExtractAgain(installed->container->Container(), unpackedFolder);
                    !extracted) {
                    log.Write(kCannotExtractAgain, unpackedFolder);
                    log.Reason(kCannotExtractAgain.level, unpackedFolder, extracted.ErrorText());
                    leftWorkBehind = true;
                    verified.push_back({unpackedFolder, {nullptr, unpackedFolder}, true});
                    continue;
                }
                log.Write(kExtractedAgain, unpackedFolder);
            }
            log.Associate(unpackedFolder, info.GetDocumentID());
            installed->path = unpackedFolder;
            verified.push_back({unpackedFolder, std::move(*installed)});
        }
    }
    return verified;
}

void ExtensionManagerImpl::FinishLoading() {
    initialLoadDone = true;
    bool cleared = false;
    for (const UnpackedCandidate& candidate : VerifyUnpacked(false, PackageUse::RecordOnly)) {
        const ExtensionContainerInfo* info = InfoOf(candidate.package);
        if (info == nullptr) {
            log.Write(kCouldNotUnpack, candidate.folder);
            // Its source package, when there is one, is then unpacked afresh by a rescan.
            if (auto deleted = InstallRepair::DeleteVersion(SystemIO::Path::GetParentFolder(candidate.folder))) {
                log.Write(kClearedUnusableVersion, candidate.folder);
                cleared = true;
            } else {
                log.Reason(kCouldNotUnpack.level, candidate.folder, deleted.ErrorText());
                leftWorkBehind = true;
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
    // When tracking has begun, the source folders are scanned again now rather than at
    // their next change, so that a cleared version's package comes back at once.
    if (cleared && !trackers.empty()) {
        for (const ExtensionSourceFolder& source : sourceFolders) DispatchRescan(source.folder);
    }
    NotifyFailures();
}

std::vector<OpenedPackage> ExtensionManagerImpl::ScanSourceFolders() {
    std::vector<OpenedPackage> packages;
    for (const ExtensionSourceFolder& source : sourceFolders) {
        for (const CString& file : SystemIO::Folder::GetFiles(source.folder, true)) {
            if (auto package = OpenPackage(file, PackageUse::RecordOnly)) packages.push_back(std::move(*package));
        }
    }
    return packages;
}

}  // namespace OvxComponent
