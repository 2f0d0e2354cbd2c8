// Opening folders so that Wine's server adds them to the subtree that it watches.
#include "platform/directory_tracker/wine_subtree_win.h"

#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/win32_io.h"

#include <cstddef>
#include <cstring>

namespace OvxUtils::DirectoryTracking::WineSubtree {

namespace {

void OpenOnce(const CString& folder) {
    const SystemIO::Detail::UniqueFileHandle handle(
        ::CreateFileW(SystemIO::Detail::ToWin32Path(folder).GetString(), FILE_LIST_DIRECTORY,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                      FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

}  // namespace

bool IsWine() {
    static const bool wine = [] {
        const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
        return ntdll && ::GetProcAddress(ntdll, "wine_get_version");
    }();
    return wine;
}

void OpenFoldersBelow(const CString& folder) {
    SystemIO::Folder::Visit(folder, true, [](const CString& path, bool isFolder) {
        if (isFolder) OpenOnce(path);
        return true;
    });
}

std::vector<CString> AddedNames(const void* records, DWORD size) {
    std::vector<CString> names;
    const auto* bytes = static_cast<const std::byte*>(records);
    for (DWORD offset = 0; offset + sizeof(FILE_NOTIFY_INFORMATION) <= size;) {
        FILE_NOTIFY_INFORMATION record;
        std::memcpy(&record, bytes + offset, offsetof(FILE_NOTIFY_INFORMATION, FileName));
        const DWORD nameOffset = offset + offsetof(FILE_NOTIFY_INFORMATION, FileName);
        if (nameOffset + record.FileNameLength > size) break;
        if (record.Action == FILE_ACTION_ADDED || record.Action == FILE_ACTION_RENAMED_NEW_NAME) {
            std::wstring name(record.FileNameLength / sizeof(wchar_t), L'\0');
            std::memcpy(name.data(), bytes + nameOffset, record.FileNameLength);
            names.emplace_back(std::wstring_view(name));
        }
        if (record.NextEntryOffset == 0) break;
        offset += record.NextEntryOffset;
    }
    return names;
}

void OpenAddedFolders(const CString& watched, const std::vector<CString>& names) {
    for (const CString& name : names) {
        const CString path = SystemIO::Path::Combine(watched, name);
        if (!SystemIO::Folder::Exists(path)) continue;
        OpenOnce(path);
        OpenFoldersBelow(path);
    }
}

}  // namespace OvxUtils::DirectoryTracking::WineSubtree
