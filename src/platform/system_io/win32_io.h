// Win32 helpers shared by the Windows file-system and stream sources.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <windows.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace OvxUtils::SystemIO::Detail {

// Virus scanners, indexers and backup tools open new files for a moment without sharing
// their deletion: a delete or rename that meets such a hold is tried again, a few times
// within a fraction of a second, before its failure counts. A file that its own program
// holds (a loaded DLL) fails as before, only later; the last error is the last attempt's.
template <class Attempt>
inline bool RetryWhileHeld(const Attempt& attempt) {
    constexpr DWORD kPausesMs[] = {5, 10, 20, 40, 80};
    if (attempt()) return true;
    for (const DWORD pause : kPausesMs) {
        const DWORD error = ::GetLastError();
        if (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED && error != ERROR_LOCK_VIOLATION) {
            return false;
        }
        ::Sleep(pause);
        if (attempt()) return true;
    }
    return false;
}

// Owns one file or find handle and closes it.
template <class Traits>
class UniqueWin32Handle {
public:
    UniqueWin32Handle() = default;
    explicit UniqueWin32Handle(HANDLE handle) : m_handle(handle) {}
    UniqueWin32Handle(UniqueWin32Handle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE)) {}
    UniqueWin32Handle& operator=(UniqueWin32Handle&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.m_handle, INVALID_HANDLE_VALUE));
        return *this;
    }
    ~UniqueWin32Handle() { Reset(); }

    bool IsValid() const { return m_handle != INVALID_HANDLE_VALUE && m_handle != nullptr; }
    HANDLE Get() const { return m_handle; }
    void Reset(HANDLE handle = INVALID_HANDLE_VALUE) {
        if (IsValid()) Traits::Close(m_handle);
        m_handle = handle;
    }

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

struct FileHandleTraits {
    static void Close(HANDLE handle) { ::CloseHandle(handle); }
};
struct FindHandleTraits {
    static void Close(HANDLE handle) { ::FindClose(handle); }
};
using UniqueFileHandle = UniqueWin32Handle<FileHandleTraits>;
using UniqueFindHandle = UniqueWin32Handle<FindHandleTraits>;

// The form of path to hand to Win32 calls: '/' becomes '\\', and a path of 248 units or
// more is made absolute and given the \\?\ (or \\?\UNC\) prefix, so that it is not cut at
// MAX_PATH. 248 is the limit of CreateDirectoryW, the lowest of the calls used.
// Exported only for its unit test: Wine has no MAX_PATH limit to show a mistake here.
CString ToWin32Path(const CString& path);

// Writes all bytes, looping over partial writes; false on the first error.
bool WriteAll(HANDLE file, const void* data, std::size_t size);

struct LocalFreer {
    void operator()(void* memory) const { ::LocalFree(memory); }
};
using LocalSecurityDescriptor = std::unique_ptr<void, LocalFreer>;

// The security descriptor of a File::Access::OwnerOnly file: owned by the user of the
// process token, with a protected access list that gives that user alone full access.
// Exported only for its unit test: Wine keeps no access list of a file to read back.
Result<LocalSecurityDescriptor> OwnerOnlyDescriptor();

}  // namespace OvxUtils::SystemIO::Detail
