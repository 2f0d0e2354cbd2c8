// InstallRepair: the session marker, the sweep of temporary names and the repair of
// unpacked folders.
#include "extensions/manager/install_repair.h"

#include "container/extract_folder.h"
#include "OvxComponent/platform/guid.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

#include <utility>
#include <vector>

namespace OvxComponent {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

}  // namespace

InstallRepair::~InstallRepair() {
    m_calls.Attach({});
    if (!m_leftWorkBehind) m_marker.Delete();
}

std::optional<InstallRepair::Depth> InstallRepair::BeginScan() {
    if (std::exchange(m_begun, true)) return std::nullopt;
    // Its own marker first, so that a session starting meanwhile sees this one at work.
    const CString tag = OvxUtils::Guid::Generate().ToString().Mid(1, 8);
    const CString own = SystemIO::Path::Combine(
        m_platformFolder, CString(kSessionMarkerPrefix) + tag + CString(kSessionMarkerSuffix));
    if (auto marker = SystemIO::HeldFile::Create(own)) {
        m_marker = std::move(*marker);
        m_calls.Attach(m_marker.Map(CallGuard::kMemorySize));
    }

    // The traces of ended sessions. Another session at work means that what looks
    // unfinished may be its work in progress: the repair stays quick, and the traces are
    // left for a start that finds no other session at work.
    bool othersAtWork = false;
    std::vector<CString> traces;
    SystemIO::Folder::Visit(m_platformFolder, false, [&](const CString& path, bool isFolder) {
        const CString name = SystemIO::Path::GetFileName(path);
        if (isFolder || path == own || !name.StartsWith(CString(kSessionMarkerPrefix)) ||
            !name.EndsWith(CString(kSessionMarkerSuffix))) {
            return true;
        }
        if (SystemIO::HeldFile::IsHeld(path)) othersAtWork = true;
        traces.push_back(path);
        return true;
    });
    if (othersAtWork) {
        m_log.Write(kOtherSessionAtWork, CString(kManagerSubject));
        return Depth::Quick;
    }
    auto depth = Depth::Quick;
    for (const CString& trace : traces) {
        // What the session was doing when it ended is read before its trace goes.
        const auto note = SystemIO::File::ReadAllBytes(trace);
        if (!SystemIO::HeldFile::DeleteUnlessHeld(trace)) continue;
        depth = Depth::Thorough;
        if (const auto crash = note ? CallGuard::InFlight(*note) : std::nullopt) m_quarantine.RecordCrash(*crash);
    }
    if (depth == Depth::Thorough) {
        m_log.Write(kThoroughRepair, CString(kManagerSubject));
        Sweep(m_platformFolder);
    }
    return depth;
}

void InstallRepair::Sweep(const CString& folder) {
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
            m_log.Write(kRemovedDebris, path);
        } else {
            m_log.Write(kCannotRemoveDebris, path);
            m_log.Reason(kCannotRemoveDebris.level, path, deleted.ErrorText());
            m_leftWorkBehind = true;
        }
    }
}

bool InstallRepair::IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder, Depth depth) {
    if (depth == Depth::Quick) return SystemIO::Folder::Exists(unpackedFolder);
    return VdcContainer::HoldsExtractedFiles(installedCopy, unpackedFolder);
}

OvxUtils::Result<void> InstallRepair::ReadArchive(OpenedPackage& installedCopy) {
    if (installedCopy.container->IsOpen()) return {};
    auto archive = ExtensionContainer::Open(*installedCopy.path, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!archive) return archive.TakeError();
    installedCopy.container = std::make_shared<ExtensionContainer>(std::move(*archive));
    return {};
}

OvxUtils::Result<void> InstallRepair::ExtractAgain(PackageExtraction& installedCopy, const CString& unpackedFolder) {
    if (auto cleared = SystemIO::Folder::DeleteTree(unpackedFolder); !cleared) return cleared;
    return installedCopy.Into(unpackedFolder);
}

OvxUtils::Result<void> InstallRepair::DeleteVersion(const CString& versionFolder) {
    if (auto deleted = SystemIO::Folder::DeleteTree(versionFolder); !deleted) return deleted;
    const CString extensionFolder = SystemIO::Path::GetParentFolder(versionFolder);
    bool empty = true;
    SystemIO::Folder::Visit(extensionFolder, false, [&](const CString&, bool) { return empty = false; });
    if (empty) static_cast<void>(SystemIO::Folder::DeleteTree(extensionFolder));
    return {};
}

}  // namespace OvxComponent
