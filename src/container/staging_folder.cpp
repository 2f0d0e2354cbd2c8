// StagingFolder: the folder beside an extraction's target, committed in one move.
#include "container/staging_folder.h"

#include "container/native_io.h"
#include "platform/system_io/file.h"
#include "platform/system_io/file_system.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"

namespace VdcContainer {

namespace {

namespace SystemIO = OvxUtils::SystemIO;
using SystemIO::Detail::EntryType;


}  // namespace

StagingFolder::StagingFolder(CString target, CString path, std::vector<CString> createdParents)
    : m_target(std::move(target)), m_path(std::move(path)), m_createdParents(std::move(createdParents)) {}

StagingFolder::~StagingFolder() {
    if (m_committed) return;
    SystemIO::Folder::DeleteRecursive(m_path, true);
    for (const CString& parent : m_createdParents) SystemIO::Detail::RemoveEntry(parent);
}

Result<std::unique_ptr<StagingFolder>> StagingFolder::Create(const CString& target) {
    const CString folder = SystemIO::Path::WithoutTrailingSeparators(target);
    const CString name = SystemIO::Path::GetFileName(folder);
    if (name.IsEmpty()) return Error{u"the target folder " + target + u" is a root or has no name"};
    const SystemIO::Detail::EntryInfo info = SystemIO::Detail::GetEntryInfo(folder);
    if (info.type != EntryType::None && info.type != EntryType::Folder) {
        return Error{u"the target " + target + u" exists and is not a folder"};
    }
    std::vector<CString> createdParents;
    const CString parent = SystemIO::Path::GetParentFolder(folder);
    for (CString missing = parent; !missing.IsEmpty() && !SystemIO::Folder::Exists(missing);) {
        createdParents.push_back(missing);
        const CString up = SystemIO::Path::GetParentFolder(missing);
        if (up == missing) break;
        missing = up;
    }
    if (auto made = parent.IsEmpty() ? Result<void>() : SystemIO::Folder::EnsureExists(parent); !made) {
        for (const CString& created : createdParents) SystemIO::Detail::RemoveEntry(created);
        return made.TakeError();
    }
    const CString staging = SystemIO::TemporaryName::Beside(folder, SystemIO::TemporaryName::kPartial);
    std::unique_ptr<StagingFolder> result(new StagingFolder(folder, staging, std::move(createdParents)));
    if (!SystemIO::Detail::CreateFolder(staging)) return Error{u"cannot create a folder beside " + target};
    return result;
}

Result<void> StagingFolder::CommitInto() {
    const SystemIO::Detail::EntryInfo info = SystemIO::Detail::GetEntryInfo(m_target);
    if (info.type == EntryType::Folder && !info.isLink) {
        const auto entries = SystemIO::Detail::ReadFolder(m_target);
        if (entries && entries->empty()) SystemIO::Detail::RemoveEntry(m_target);
    }
    const SystemIO::Detail::EntryInfo now = SystemIO::Detail::GetEntryInfo(m_target);
    if (now.type == EntryType::None && !now.isLink) {
        if (!NativeIO::Move(m_path, m_target)) return Error{u"cannot move the extracted files into " + m_target};
        m_committed = true;
        return {};
    }
    std::vector<CString> moved;
    if (auto merged = Merge(m_path, m_target, moved); !merged) {
        for (auto it = moved.rbegin(); it != moved.rend(); ++it) {
            SystemIO::Folder::DeleteRecursive(*it, true);
            SystemIO::File::Delete(*it);
        }
        return merged;
    }
    SystemIO::Folder::DeleteRecursive(m_path, true);
    m_committed = true;
    return {};
}

Result<void> StagingFolder::Merge(const CString& from, const CString& to, std::vector<CString>& moved) {
    const auto entries = SystemIO::Detail::ReadFolder(from);
    if (!entries) return Error{u"cannot read the extracted files in " + from};
    for (const SystemIO::Detail::FolderEntry& entry : *entries) {
        const CString source = SystemIO::Path::Combine(from, entry.name);
        const CString destination = SystemIO::Path::Combine(to, entry.name);
        const SystemIO::Detail::EntryInfo existing = SystemIO::Detail::GetEntryInfo(destination);
        if (existing.type == EntryType::None && !existing.isLink) {
            if (!NativeIO::Move(source, destination)) return Error{u"cannot move the extracted file to " + destination};
            moved.push_back(destination);
        } else if (entry.isFolder && existing.type == EntryType::Folder && !existing.isLink) {
            if (auto merged = Merge(source, destination, moved); !merged) return merged;
        } else {
            return Error{destination + u" exists already"};
        }
    }
    return {};
}

}  // namespace VdcContainer
