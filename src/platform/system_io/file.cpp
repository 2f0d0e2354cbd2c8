// The platform-neutral File functions; the rest are in file_system_posix.cpp and
// file_system_win.cpp.
#include "platform/system_io/file.h"

#include "platform/system_io/file_system.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

namespace OvxUtils::SystemIO::File {

bool Exists(const CString& path) { return Detail::GetEntryInfo(path).type == Detail::EntryType::File; }

bool Delete(const CString& path) {
    if (Detail::GetEntryInfo(path).type == Detail::EntryType::Folder) return false;
    return Detail::RemoveEntry(path);
}

std::vector<CString> Find(const CString& folder, const CString& name, bool recursive) {
    std::vector<CString> found;
    Folder::Visit(folder, recursive, [&](const CString& path, bool isFolder) {
        if (!isFolder && Path::GetFileName(path).CompareNoCase(name) == 0) found.push_back(path);
        return true;
    });
    return found;
}

}  // namespace OvxUtils::SystemIO::File
