// InstallRepair: the start-up sweep and the repair of unpacked folders.
#include "extensions/manager/install_repair.h"

#include "container/extract_folder.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

namespace OvxComponent::InstallRepair {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using namespace LogMessages;

// Deletes the temporary entries of folder; calls into for the other subfolders.
template <class Into>
void SweepLevel(ExtensionLog& log, const CString& folder, const Into& into) {
    std::vector<std::pair<CString, bool>> entries;
    SystemIO::Folder::Visit(folder, false, [&](const CString& path, bool isFolder) {
        entries.emplace_back(path, isFolder);
        return true;
    });
    for (const auto& [path, isFolder] : entries) {
        if (!SystemIO::TemporaryName::IsTemporary(SystemIO::Path::GetFileName(path))) {
            if (isFolder) into(path);
            continue;
        }
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
        }
    }
}

}  // namespace

void SweepDebris(ExtensionLog& log, const CString& platformFolder) {
    const auto none = [](const CString&) {};
    SweepLevel(log, platformFolder, [&](const CString& extensionFolder) {
        SweepLevel(log, extensionFolder, [&](const CString& versionFolder) { SweepLevel(log, versionFolder, none); });
    });
}

bool IsComplete(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder) {
    if (!SystemIO::Folder::Exists(unpackedFolder)) return false;
    for (const VdcContainer::ContainerEntry& entry : installedCopy.GetEntries()) {
        if (entry.name.EndsWith(u"/")) continue;
        // Entry names use '/', which every platform's file calls take as a separator.
        if (SystemIO::File::GetSize(SystemIO::Path::Combine(unpackedFolder, entry.name)) != entry.size) return false;
    }
    return true;
}

OvxUtils::Result<void> ExtractAgain(const VdcContainer::ZipContainer& installedCopy, const CString& unpackedFolder) {
    if (auto cleared = SystemIO::Folder::DeleteTree(unpackedFolder); !cleared) return cleared;
    return VdcContainer::ExtractFolder(installedCopy, u"", unpackedFolder);
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
