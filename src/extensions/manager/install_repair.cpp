// InstallRepair: the session marker, the sweep of temporary names and the repair of
// unpacked folders.
#include "extensions/manager/install_repair.h"

#include "container/extract_folder.h"
#include "OvxComponent/platform/guid.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

namespace OvxComponent::InstallRepair {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

}  // namespace

Session BeginSession(const CString& platformFolder) {
    Session session;
    // Its own marker first, so that a session starting meanwhile sees this one at work.
    const CString tag = OvxUtils::Guid::Generate().ToString().Mid(1, 8);
    const CString own = SystemIO::Path::Combine(
        platformFolder, CString(kSessionMarkerPrefix) + tag + CString(kSessionMarkerSuffix));
    if (auto marker = SystemIO::HeldFile::Create(own)) session.marker = std::move(*marker);

    std::vector<CString> traces;
    SystemIO::Folder::Visit(platformFolder, false, [&](const CString& path, bool isFolder) {
        const CString name = SystemIO::Path::GetFileName(path);
        if (isFolder || path == own || !name.StartsWith(CString(kSessionMarkerPrefix)) ||
            !name.EndsWith(CString(kSessionMarkerSuffix))) {
            return true;
        }
        if (SystemIO::HeldFile::IsHeld(path)) session.othersAtWork = true;
        traces.push_back(path);
        return true;
    });
    if (session.othersAtWork) return session;
    for (const CString& trace : traces) {
        if (SystemIO::HeldFile::DeleteUnlessHeld(trace)) session.depth = Depth::Thorough;
    }
    return session;
}

bool SweepFolder(ExtensionLog& log, const CString& folder) {
    bool swept = true;
    std::vector<std::pair<CString, bool>> debris;
    SystemIO::Folder::Visit(folder, false, [&](const CString& path, bool isFolder) {
        if (SystemIO::TemporaryName::IsTemporary(SystemIO::Path::GetFileName(path))) debris.emplace_back(path, isFolder);
        return true;
    });
    for (const auto& [path, isFolder] : debris) {
        OvxUtils::Result<void> deleted;
        if (isFolder) {
            deleted = SystemIO::Folder::DeleteTree(path);
        } else if (!SystemIO::File::Delete(path)) {
            deleted = OvxUtils::SystemError(u"cannot delete " + path);
        }
        if (deleted) {
            log.Write(kRemovedDebris, path);
        } else {
            log.Write(kCannotRemoveDebris, path);
            log.Reason(kCannotRemoveDebris.level, path, deleted.ErrorText());
            swept = false;
        }
    }
    return swept;
}

bool IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder, Depth depth) {
    if (depth == Depth::Quick) return SystemIO::Folder::Exists(unpackedFolder);
    return VdcContainer::HoldsExtractedFiles(installedCopy, unpackedFolder);
}

OvxUtils::Result<void> ReadArchive(OpenedPackage& installedCopy) {
    if (installedCopy.container->IsOpen()) return {};
    auto archive = ExtensionContainer::Open(*installedCopy.path, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!archive) return archive.TakeError();
    installedCopy.container = std::make_shared<ExtensionContainer>(std::move(*archive));
    return {};
}

OvxUtils::Result<void> ExtractAgain(PackageExtraction& installedCopy, const CString& unpackedFolder) {
    if (auto cleared = SystemIO::Folder::DeleteTree(unpackedFolder); !cleared) return cleared;
    return installedCopy.Into(unpackedFolder);
}

OvxUtils::Result<void> DeleteVersion(const CString& versionFolder) {
    if (auto deleted = SystemIO::Folder::DeleteTree(versionFolder); !deleted) return deleted;
    const CString extensionFolder = SystemIO::Path::GetParentFolder(versionFolder);
    bool empty = true;
    SystemIO::Folder::Visit(extensionFolder, false, [&](const CString&, bool) { return empty = false; });
    if (empty) static_cast<void>(SystemIO::Folder::DeleteTree(extensionFolder));
    return {};
}

}  // namespace OvxComponent::InstallRepair
