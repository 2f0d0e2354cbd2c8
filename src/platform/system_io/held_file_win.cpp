// HeldFile on Windows: a handle that shares no reading, so that no other handle can open
// the file to read it, or to delete it without sharing, while it is held.
#include "platform/system_io/held_file.h"

#include "platform/system_io/win32_io.h"

#include <utility>

namespace OvxUtils::SystemIO {

namespace {

HANDLE Open(const CString& path, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    return ::CreateFileW(Detail::ToWin32Path(path).GetString(), access, share, nullptr, disposition, flags, nullptr);
}

}  // namespace

Result<HeldFile> HeldFile::Create(const CString& path) {
    // Created and held in one call. Shared for deletion only, so that a user or an
    // uninstaller can still delete the folder, while every open for reading is refused.
    const HANDLE handle =
        Open(path, GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_DELETE, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
    if (handle == INVALID_HANDLE_VALUE) return SystemError(u"cannot create " + path);
    return HeldFile(path, reinterpret_cast<std::intptr_t>(handle));
}

std::optional<Result<HeldFile>> HeldFile::TryHold(const CString& path) {
    const HANDLE handle = Open(path, GENERIC_READ | DELETE, FILE_SHARE_DELETE, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (handle != INVALID_HANDLE_VALUE) return HeldFile(path, reinterpret_cast<std::intptr_t>(handle));
    const DWORD error = ::GetLastError();
    if (error == ERROR_SHARING_VIOLATION) return std::nullopt;
    return SystemError(u"cannot open " + path, error);
}

bool HeldFile::IsHeld(const CString& path) {
    const Detail::UniqueFileHandle handle(Open(path, GENERIC_READ, 0, OPEN_EXISTING, 0));
    return !handle.IsValid() && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

bool HeldFile::DeleteUnlessHeld(const CString& path) {
    // Opened only when no other handle is open on it; deleted when this one closes.
    const Detail::UniqueFileHandle handle(Open(path, DELETE, 0, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE));
    return handle.IsValid();
}

std::span<unsigned char> HeldFile::Map(std::size_t size) {
    Unmap();
    if (!IsValid()) return {};
    // A mapping of a file that is shorter makes it as long.
    const HANDLE mapping = ::CreateFileMappingW(reinterpret_cast<HANDLE>(m_handle), nullptr, PAGE_READWRITE, 0,
                                                static_cast<DWORD>(size), nullptr);
    if (mapping == nullptr) return {};
    void* view = ::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, size);
    if (view == nullptr) {
        ::CloseHandle(mapping);
        return {};
    }
    m_mapping = reinterpret_cast<std::intptr_t>(mapping);
    m_view = view;
    m_viewSize = size;
    return {static_cast<unsigned char*>(view), size};
}

void HeldFile::Unmap() {
    if (m_view != nullptr) ::UnmapViewOfFile(std::exchange(m_view, nullptr));
    if (m_mapping != 0) ::CloseHandle(reinterpret_cast<HANDLE>(std::exchange(m_mapping, 0)));
    m_viewSize = 0;
}

void HeldFile::Delete() {
    if (!IsValid()) return;
    Unmap();  // a file with a view of it cannot be deleted
    FILE_DISPOSITION_INFO disposition{};
    disposition.DeleteFile = TRUE;
    ::SetFileInformationByHandle(reinterpret_cast<HANDLE>(m_handle), FileDispositionInfo, &disposition,
                                 sizeof(disposition));
    Close();
}

void HeldFile::Close() {
    Unmap();
    if (IsValid()) ::CloseHandle(reinterpret_cast<HANDLE>(std::exchange(m_handle, -1)));
}

}  // namespace OvxUtils::SystemIO
