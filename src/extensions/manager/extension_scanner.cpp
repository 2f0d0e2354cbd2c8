// ExtensionScanner: the verification scan of the unpacked extensions, with the repair of
// the first one, and the scan of the source folders.
#include "extensions/manager/extension_scanner.h"

#include "extensions/manager/install_layout.h"
#include "extensions/manager/install_repair.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <utility>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

}  // namespace

std::vector<UnpackedCandidate> ExtensionScanner::VerifyUnpacked(Purpose purpose) {
    std::vector<UnpackedCandidate> verified;
    const CString& platformFolder = m_unpacker.PlatformFolder();
    if (!SystemIO::Folder::Exists(platformFolder)) return verified;
    // The first scan of the manager's life repairs what a crash may have left: thoroughly
    // when the last session did not end cleanly.
    const std::optional<InstallRepair::Depth> repair = m_repair.BeginScan();
    const bool sweep = repair == InstallRepair::Depth::Thorough;
    for (const CString& extensionFolder : SystemIO::Folder::GetSubfolders(platformFolder, false)) {
        const CString folderName = SystemIO::Path::GetFileName(extensionFolder);
        const std::optional<OvxUtils::Guid> folderId = OvxUtils::Guid::FromString(folderName);
        if (!folderId) continue;
        // An extension that is loaded is not opened again just to be left out.
        if (purpose == Purpose::Loading && m_loader.Find(*folderId)) continue;
        if (sweep) m_repair.Sweep(extensionFolder);
        for (const InstallLayout::ExistingCopy& copy : InstallLayout::ExistingCopies(extensionFolder)) {
            const CString versionFolder = SystemIO::Path::GetParentFolder(copy.installedCopy);
            const CString versionName = SystemIO::Path::GetFileName(versionFolder);
            if (!OvxUtils::Version::TryParse(versionName)) continue;
            if (sweep) m_repair.Sweep(versionFolder);
            const CString unpackedFolder = InstallLayout::UnpackedFolder(versionFolder);
            const auto identity = SystemIO::File::GetIdentity(copy.installedCopy);
            if (!identity) {
                m_log.Warning(unpackedFolder, u"File does not exist: " + copy.installedCopy);
                verified.push_back({unpackedFolder, {nullptr, unpackedFolder, 0, nullptr}});
                continue;
            }
            // The thorough repair looks at every file of the archive; otherwise a record
            // answers what is asked here.
            const PackageUse use = sweep ? PackageUse::Readable : PackageUse::RecordOnly;
            auto installed = m_unpacker.OpenInstalled(copy.installedCopy, use, identity);
            if (!installed) {
                verified.push_back({unpackedFolder, {nullptr, unpackedFolder, 0, nullptr}, true});
                continue;
            }
            const ExtensionContainerInfo& info = *InfoOf(*installed);
            bool mismatch = false;
            if (info.GetDocumentID().ToString() != folderName) {
                m_log.Write(kGuidMismatch, unpackedFolder);
                mismatch = true;
            }
            if (info.GetVersionAsString() != versionName) {
                m_log.Write(kVersionMismatch, unpackedFolder);
                mismatch = true;
            }
            if (mismatch) continue;
            // Nothing loads without its files: a folder that the repair could not extract
            // again (a full disk, files that differ from their signed digests) stays
            // unusable for the rest of the session.
            if (!repair && purpose != Purpose::Removal && !SystemIO::Folder::Exists(unpackedFolder)) {
                verified.push_back({unpackedFolder, std::move(*installed), true});
                continue;
            }
            if (repair && !InstallRepair::IsComplete(installed->container->Container(), unpackedFolder, *repair)) {
                auto extracted = InstallRepair::ReadArchive(*installed);
                PackageExtraction extraction(*installed, m_unpacker.WhenUntrusted());
                if (extracted) extracted = InstallRepair::ExtractAgain(extraction, unpackedFolder);
                if (!extracted) {
                    m_log.Write(kCannotExtractAgain, unpackedFolder);
                    m_log.Reason(extraction.ReasonLevel(kCannotExtractAgain.level), unpackedFolder,
                                 extracted.ErrorText());
                    m_repair.LeaveWorkBehind();
                    verified.push_back({unpackedFolder, {nullptr, unpackedFolder, 0, nullptr}, true});
                    continue;
                }
                m_log.Write(kExtractedAgain, unpackedFolder);
                extraction.ReportMismatches(m_log, info.GetDocumentID());
            }
            // Under a trust policy, nothing loads that the policy would not trust now.
            if (!m_unpacker.TrustInstall(*installed, unpackedFolder)) {
                verified.push_back({unpackedFolder, {nullptr, unpackedFolder, 0, nullptr}, true});
                continue;
            }
            m_log.Associate(unpackedFolder, info.GetDocumentID());
            installed->path = unpackedFolder;
            verified.push_back({unpackedFolder, std::move(*installed)});
        }
    }
    return verified;
}

std::vector<OpenedPackage> ExtensionScanner::ScanSourceFolders() {
    std::vector<OpenedPackage> packages;
    for (const ExtensionSourceFolder& source : m_sourceFolders) {
        for (const CString& file : SystemIO::Folder::GetFiles(source.folder, true)) {
            if (auto package = m_unpacker.Open(file, PackageUse::RecordOnly)) packages.push_back(std::move(*package));
        }
    }
    return packages;
}

}  // namespace OvxComponent
