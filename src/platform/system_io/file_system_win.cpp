// File-system primitives on Windows, on the wide Win32 calls. Every path goes through
// ToWin32Path, so paths beyond MAX_PATH work.
#include "platform/system_io/file.h"
#include "platform/system_io/file_system.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"
#include "platform/system_io/win32_io.h"

#include <sddl.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace OvxUtils::SystemIO {

namespace {

using Detail::UniqueFileHandle;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool StartsWith(const std::wstring& text, const wchar_t* prefix) { return text.rfind(prefix, 0) == 0; }


UniqueFileHandle Open(const CString& path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
                      SECURITY_ATTRIBUTES* security = nullptr) {
    return UniqueFileHandle(::CreateFileW(Detail::ToWin32Path(path).GetString(), access, share, security,
                                          disposition, flags, nullptr));
}

// Symbolic links and junctions are name surrogates; other reparse points (deduplicated
// or cloud files) behave as ordinary files and folders.
bool IsLinkTag(DWORD attributes, DWORD reparseTag) {
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsReparseTagNameSurrogate(reparseTag);
}

bool IsLink(const CString& path, DWORD attributes) {
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return false;
    const UniqueFileHandle handle = Open(path, FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING,
                                         FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS);
    FILE_ATTRIBUTE_TAG_INFO info{};
    if (!handle.IsValid() ||
        !::GetFileInformationByHandleEx(handle.Get(), FileAttributeTagInfo, &info, sizeof(info))) {
        return true;  // unknown, so never walked into or emptied
    }
    return IsLinkTag(attributes, info.ReparseTag);
}

}  // namespace

namespace Detail {

CString ToWin32Path(const CString& path) {
    std::wstring out(path.View());
    if (StartsWith(out, L"\\\\?\\")) return path;
    std::replace(out.begin(), out.end(), L'/', L'\\');
    if (out.size() < 248) return CString(std::wstring_view(out));

    // The prefix turns off all parsing, so the path must be absolute and free of "." and
    // ".." first; GetFullPathNameW has no length limit.
    std::wstring full(out.size() + MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetFullPathNameW(out.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        if (length == 0) return CString(std::wstring_view(out));
        if (length < full.size()) {
            full.resize(length);
            break;
        }
        full.resize(length);
    }
    if (StartsWith(full, L"\\\\?\\") || StartsWith(full, L"\\\\.\\")) return CString(std::wstring_view(full));
    if (StartsWith(full, L"\\\\")) return CString(std::wstring_view(L"\\\\?\\UNC" + full.substr(1)));
    return CString(std::wstring_view(L"\\\\?\\" + full));
}

bool WriteAll(HANDLE file, const void* data, std::size_t size) {
    const auto* next = static_cast<const char*>(data);
    while (size > 0) {
        const DWORD chunk =
            static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
        DWORD written = 0;
        if (!::WriteFile(file, next, chunk, &written, nullptr) || written == 0) return false;
        next += written;
        size -= written;
    }
    return true;
}

EntryInfo GetEntryInfo(const CString& path) {
    const DWORD attributes = ::GetFileAttributesW(ToWin32Path(path).GetString());
    if (attributes == INVALID_FILE_ATTRIBUTES) return {};
    EntryInfo info;
    info.type = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryType::Folder : EntryType::File;
    info.isLink = IsLink(path, attributes);
    return info;
}

std::optional<std::vector<FolderEntry>> ReadFolder(const CString& path) {
    WIN32_FIND_DATAW data{};
    const UniqueFindHandle find(::FindFirstFileExW(ToWin32Path(Path::Combine(path, L"*")).GetString(),
                                                   FindExInfoBasic, &data, FindExSearchNameMatch, nullptr,
                                                   FIND_FIRST_EX_LARGE_FETCH));
    std::vector<FolderEntry> entries;
    if (!find.IsValid()) {
        // An empty drive root lists nothing at all, not even "." and "..".
        if (::GetLastError() == ERROR_FILE_NOT_FOUND) return entries;
        return std::nullopt;
    }
    do {
        const std::wstring_view name = data.cFileName;
        if (name == L"." || name == L"..") continue;
        FolderEntry entry{CString(name)};
        entry.isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        entry.isLink = IsLinkTag(data.dwFileAttributes, data.dwReserved0);
        entries.push_back(std::move(entry));
    } while (::FindNextFileW(find.Get(), &data));
    if (::GetLastError() != ERROR_NO_MORE_FILES) return std::nullopt;
    return entries;
}

bool CreateFolder(const CString& path) {
    if (::CreateDirectoryW(ToWin32Path(path).GetString(), nullptr)) return true;
    return ::GetLastError() == ERROR_ALREADY_EXISTS && GetEntryInfo(path).type == EntryType::Folder;
}

bool HoldsFiles(const CString& folder, const std::vector<ExpectedFile>& files) {
    for (const ExpectedFile& file : files) {
        WIN32_FILE_ATTRIBUTE_DATA data{};
        const CString path = Path::Combine(folder, CString::FromUtf8(file.relativeUtf8));
        if (!::GetFileAttributesExW(ToWin32Path(path).GetString(), GetFileExInfoStandard, &data) ||
            (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ||
            ((static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow) != file.size) {
            return false;
        }
    }
    return true;
}

bool MoveEntry(const CString& from, const CString& to) {
    const bool isFolder = GetEntryInfo(from).type == EntryType::Folder;
    const CString source = ToWin32Path(from);
    const CString target = ToWin32Path(to);
    return Detail::RetryWhileHeld([&] {
        return ::MoveFileExW(source.GetString(), target.GetString(), isFolder ? 0 : MOVEFILE_REPLACE_EXISTING) != FALSE;
    });
}

bool RemoveEntry(const CString& path) {
    const CString native = ToWin32Path(path);
    const DWORD attributes = ::GetFileAttributesW(native.GetString());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    }
    const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (readOnly) {
        const DWORD writable = attributes & ~FILE_ATTRIBUTE_READONLY;
        ::SetFileAttributesW(native.GetString(), writable != 0 ? writable : FILE_ATTRIBUTE_NORMAL);
    }
    // A directory link or junction is removed like an empty folder; its target stays.
    const bool removed = Detail::RetryWhileHeld([&] {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? ::RemoveDirectoryW(native.GetString()) != FALSE
                                                            : ::DeleteFileW(native.GetString()) != FALSE;
    });
    if (removed) return true;
    if (readOnly) ::SetFileAttributesW(native.GetString(), attributes);
    return false;
}

// O: the user of the process token owns the file; D:P(A;;FA;;;user): a protected list
// (the folder's rules do not apply) that lets that user alone do all (FA) with it.
Result<LocalSecurityDescriptor> OwnerOnlyDescriptor() {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) {
        return SystemError(u"cannot open the process token");
    }
    const UniqueFileHandle tokenHandle(token);
    DWORD size = 0;
    ::GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> user(size);
    LPWSTR sid = nullptr;
    if (size == 0 || !::GetTokenInformation(token, TokenUser, user.data(), size, &size) ||
        !::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, &sid)) {
        return SystemError(u"cannot read the user of the process token");
    }
    const std::unique_ptr<wchar_t, LocalFreer> sidText(sid);
    const std::wstring sddl = L"O:" + std::wstring(sid) + L"D:P(A;;FA;;;" + sid + L")";
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl.c_str(), SDDL_REVISION_1, &descriptor,
                                                                nullptr)) {
        return SystemError(u"cannot make the access list of an owner-only file");
    }
    return LocalSecurityDescriptor(descriptor);
}

}  // namespace Detail

namespace {

// Renames a flushed temporary file over to, written through to the disk, waiting out a
// brief hold of to; the temporary file goes when the rename fails.
Result<void> MoveIntoPlace(const CString& temporary, const CString& to) {
    const CString nativeTemporary = Detail::ToWin32Path(temporary);
    const CString nativeTarget = Detail::ToWin32Path(to);
    if (Detail::RetryWhileHeld([&] {
            return ::MoveFileExW(nativeTemporary.GetString(), nativeTarget.GetString(),
                                 MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
        })) {
        return {};
    }
    const Error error = SystemError(u"cannot rename " + temporary + u" to " + to);
    Detail::RemoveEntry(temporary);
    return error;
}

}  // namespace

namespace File {

Result<void> CopyAtomically(const CString& from, const CString& to) {
    const UniqueFileHandle source = Open(from, GENERIC_READ, kShareAll, OPEN_EXISTING, 0);
    if (!source.IsValid()) return SystemError(u"cannot read " + from);
    if (::GetFileType(source.Get()) != FILE_TYPE_DISK) return Error{from + u" is not a regular file"};
    const CString temporary = TemporaryName::Beside(to, TemporaryName::kWriting);
    const auto fail = [&](const CString& what) {
        const Error error = SystemError(what);
        Detail::RemoveEntry(temporary);
        return error;
    };
    if (!::CopyFileW(Detail::ToWin32Path(from).GetString(), Detail::ToWin32Path(temporary).GetString(), TRUE)) {
        return fail(u"cannot write " + temporary);
    }
    {
        const UniqueFileHandle copy = Open(temporary, GENERIC_WRITE, 0, OPEN_EXISTING, 0);
        if (!copy.IsValid() || !::FlushFileBuffers(copy.Get())) return fail(u"cannot flush " + temporary);
    }
    return MoveIntoPlace(temporary, to);
}

std::optional<FileIdentity> GetIdentity(const CString& path) {
    const UniqueFileHandle file = Open(path, FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    BY_HANDLE_FILE_INFORMATION info{};
    FILE_BASIC_INFO basic{};
    if (!file.IsValid() || !::GetFileInformationByHandle(file.Get(), &info) ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || ::GetFileType(file.Get()) != FILE_TYPE_DISK ||
        !::GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &basic, sizeof(basic))) {
        return std::nullopt;
    }
    return FileIdentity{(static_cast<std::uint64_t>(info.nFileSizeHigh) << 32) | info.nFileSizeLow,
                        (static_cast<std::uint64_t>(info.ftLastWriteTime.dwHighDateTime) << 32) |
                            info.ftLastWriteTime.dwLowDateTime,
                        info.dwVolumeSerialNumber,
                        (static_cast<std::uint64_t>(info.nFileIndexHigh) << 32) | info.nFileIndexLow,
                        static_cast<std::uint64_t>(basic.ChangeTime.QuadPart)};
}

std::optional<std::uint64_t> GetSize(const CString& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(Detail::ToWin32Path(path).GetString(), GetFileExInfoStandard, &data) ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::nullopt;
    }
    return (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

std::optional<std::uint64_t> GetLastWriteTime(const CString& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(Detail::ToWin32Path(path).GetString(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    return (static_cast<std::uint64_t>(data.ftLastWriteTime.dwHighDateTime) << 32) |
           data.ftLastWriteTime.dwLowDateTime;
}

bool SetLastWriteTime(const CString& path, std::uint64_t ticks) {
    const UniqueFileHandle handle =
        Open(path, FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    FILETIME time{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
    return handle.IsValid() && ::SetFileTime(handle.Get(), nullptr, nullptr, &time);
}

Result<std::string> ReadAllBytes(const CString& path) {
    const UniqueFileHandle file =
        Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
    LARGE_INTEGER size{};
    if (!file.IsValid() || !::GetFileSizeEx(file.Get(), &size)) return SystemError(u"cannot read " + path);
    std::string bytes(static_cast<std::size_t>(size.QuadPart) + 1, '\0');
    std::size_t used = 0;
    for (;;) {
        if (used == bytes.size()) bytes.resize(bytes.size() * 2);
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - used, 1u << 30));
        DWORD got = 0;
        if (!::ReadFile(file.Get(), bytes.data() + used, chunk, &got, nullptr)) {
            return SystemError(u"cannot read " + path);
        }
        if (got == 0) break;
        used += got;
    }
    bytes.resize(used);
    return bytes;
}

Result<void> WriteAllBytes(const CString& path, std::string_view bytes) {
    const UniqueFileHandle file =
        Open(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (!file.IsValid() || !Detail::WriteAll(file.Get(), bytes.data(), bytes.size())) {
        return SystemError(u"cannot write " + path);
    }
    return {};
}

Result<void> WriteAtomically(const CString& path, std::string_view bytes, Access access) {
    using Detail::LocalSecurityDescriptor;
    auto descriptor = access == Access::OwnerOnly ? Detail::OwnerOnlyDescriptor()
                                                  : Result<LocalSecurityDescriptor>(LocalSecurityDescriptor());
    if (!descriptor) return descriptor.TakeError();
    SECURITY_ATTRIBUTES security{sizeof(security), descriptor->get(), FALSE};
    const CString temporary = TemporaryName::Beside(path, TemporaryName::kWriting);
    const auto fail = [&](const CString& what) {
        const Error error = SystemError(what);
        Detail::RemoveEntry(temporary);
        return error;
    };
    {
        const UniqueFileHandle file =
            Open(temporary, GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, &security);
        if (!file.IsValid()) return SystemError(u"cannot create " + temporary);
        if (!Detail::WriteAll(file.Get(), bytes.data(), bytes.size())) return fail(u"cannot write " + temporary);
        if (!::FlushFileBuffers(file.Get())) return fail(u"cannot flush " + temporary);
    }
    // A rename on one volume keeps the file's own access list.
    return MoveIntoPlace(temporary, path);
}

Result<void> ReplaceAtomically(const CString& path, const std::function<Result<void>(const CString& temporary)>& write) {
    const CString temporary = TemporaryName::Beside(path, TemporaryName::kWriting);
    const auto discard = [&](Error error) {
        Detail::RemoveEntry(temporary);
        return error;
    };
    if (auto written = write(temporary); !written) return discard(written.TakeError());
    {
        const UniqueFileHandle file = Open(temporary, GENERIC_WRITE, kShareAll, OPEN_EXISTING, 0);
        if (!file.IsValid() || !::FlushFileBuffers(file.Get())) {
            return discard(SystemError(u"cannot flush " + temporary));
        }
    }
    return MoveIntoPlace(temporary, path);
}

Result<void> ReadChunks(const CString& path, const std::function<bool(std::string_view)>& sink) {
    const UniqueFileHandle file = Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
    if (!file.IsValid()) return SystemError(u"cannot read " + path);
    if (::GetFileType(file.Get()) != FILE_TYPE_DISK) return Error{path + u" is not a regular file"};
    std::string chunk(std::size_t{1} << 16, '\0');
    for (;;) {
        DWORD got = 0;
        if (!::ReadFile(file.Get(), chunk.data(), static_cast<DWORD>(chunk.size()), &got, nullptr)) {
            return SystemError(u"cannot read " + path);
        }
        if (got == 0 || !sink(std::string_view(chunk.data(), got))) return {};
    }
}

}  // namespace File

}  // namespace OvxUtils::SystemIO
