// SourceRescan: rescans of source folders after changes, auto loading of new packages,
// and removal of extensions whose package has gone.
#include "extensions/manager/source_rescan.h"

#include "OvxComponent/extensions/format/extension_packing.h"
#include "extensions/manager/debugger_output.h"
#include "extensions/manager/install_layout.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <set>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;
using OvxUtils::Error;

// The files that a rescan treats as packages.
bool IsPackageFile(const CString& path) {
    return SystemIO::Path::HasExtension(path, Get_Extension_FileExtension());
}

}  // namespace

void SourceRescan::Rescan(const CString& folder) {
    m_log.Information(CString(kManagerSubject), u"changes detected, scanning for changes");
    m_unpacker.BeginRescan();
    for (const CString& path : SystemIO::Folder::GetFiles(folder, true)) {
        if (!IsPackageFile(path)) continue;
        m_log.Information(path, u"should I load?");
        auto package = m_unpacker.Open(path, PackageUse::RecordOnly);
        if (package && m_unpacker.RefusedBefore(path)) continue;
        const bool unpack = package && m_unpacker.ShouldUnpack(*package, package->fileTime).HasValue();
        if (unpack) {
            m_log.Information(path, u"unpacking...");
            Install(path, true);
        } else {
            m_log.Write(kRedundantUnpackCheck, path);
        }
    }

    std::set<OvxUtils::Guid> present;
    for (const OpenedPackage& package : m_scanner.ScanSourceFolders()) present.insert(InfoOf(package)->GetDocumentID());
    for (const UnpackedCandidate& candidate : m_scanner.VerifyUnpacked(ExtensionScanner::Purpose::Removal)) {
        const ExtensionContainerInfo* info = InfoOf(candidate.package);
        if (info == nullptr || present.contains(info->GetDocumentID())) continue;
        m_log.Information(candidate.folder, u"removing extension");
        static_cast<void>(RemoveExtension(info->GetDocumentID()));  // its outcome is in the log
    }
    m_unpacker.EndRescan();
}

void SourceRescan::AutoLoad(const CString& path) { Install(path, false); }

void SourceRescan::Install(const CString& path, bool decidedToUnpack) {
    const auto fail = [&](const CString& text) {
        m_log.Warning(path, text);
        WriteDebuggerOutput(text + u"\n");
    };
    auto package = m_unpacker.Open(path, PackageUse::Readable);
    if (!package) return fail(package.ErrorText());
    if (m_unpacker.RefusedBefore(path)) return;
    SystemIO::HeldFile turn = InstallLayout::TakeInstallTurn(m_unpacker.PlatformFolder());
    if (auto decision = m_unpacker.ShouldUnpack(*package, package->fileTime); !decision) {
        turn = {};
        fail(decision.ErrorText());
        // Unpacking was decided a moment ago: another session has installed it since.
        if (decidedToUnpack) LoadWhatAnotherSessionInstalled(path, InfoOf(*package)->GetDocumentID());
        return;
    }
    auto unpacked = m_unpacker.Unpack(*package, m_unpacker.PlatformFolder());
    turn = {};  // installed; the loading is this session's own
    if (!unpacked) return fail(unpacked.ErrorText());
    Load(path, *unpacked);
}

void SourceRescan::LoadWhatAnotherSessionInstalled(const CString& path, const OvxUtils::Guid& documentId) {
    if (m_loader.Find(documentId)) return;
    const auto copies = InstallLayout::ExistingCopies(InstallLayout::ExtensionFolder(m_unpacker.PlatformFolder(), documentId));
    if (copies.empty()) return;
    auto installed = m_unpacker.OpenInstalled(copies.back().installedCopy, PackageUse::Readable);
    if (!installed) return;  // the log says why
    installed->path = InstallLayout::UnpackedFolder(SystemIO::Path::GetParentFolder(copies.back().installedCopy));
    if (!m_unpacker.TrustInstall(*installed, *installed->path)) return;
    m_log.Associate(*installed->path, documentId);
    Load(path, *installed);
}

void SourceRescan::Load(const CString& path, const OpenedPackage& unpacked) {
    if (m_loader.Phase().loaderActive) {
        if (m_loader.TryLoad(unpacked)) {
            m_log.Write(kAutoLoaded, path);
        } else {
            m_log.Error(path, u"auto load failed");
        }
    } else if (m_loader.Phase().initialLoadDone) {
        m_log.Write(kAutoLoadDisabled, path);
    }
}

UnloadOutcome SourceRescan::RemoveExtension(const OvxUtils::Guid& documentId) {
    m_log.Write(kRemovingExtension, documentId);
    const CString extensionFolder = InstallLayout::ExtensionFolder(m_unpacker.PlatformFolder(), documentId);
    if (const auto state = m_loader.Find(documentId)) {
        UnloadOutcome unloaded = m_loader.Unload(*state, false);
        if (!unloaded) return Error{m_log.Information(documentId, unloaded.ErrorText())};
        if (*unloaded == UnloadResult::Delayed) {
            m_log.Write(kUnloadDelayed, documentId);
            return UnloadResult::Delayed;
        }
    }
    const SystemIO::HeldFile removing = InstallLayout::TakeInstallTurn(m_unpacker.PlatformFolder());
    if (!SystemIO::Folder::Exists(extensionFolder)) return Error{m_log.Warning(documentId, u"Extension not found")};
    if (auto deleted = SystemIO::Folder::DeleteTree(extensionFolder); !deleted) {
        const CString text = m_log.Write(kCannotDeleteData, documentId);
        m_log.Reason(kCannotDeleteData.level, documentId, deleted.ErrorText());
        m_repair.LeaveWorkBehind();
        return Error{text};
    }
    m_log.Information(documentId, u"unload successful");
    return UnloadResult::Unloaded;
}

}  // namespace OvxComponent
