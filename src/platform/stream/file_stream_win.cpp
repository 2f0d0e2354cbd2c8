// FileStream on Windows: one shared file handle, one WriteFile per Write.
#include "platform/stream/file_stream.h"

#include "platform/system_io/win32_io.h"

#include <algorithm>

namespace OvxUtils {

class FileStream::Handle {
public:
    explicit Handle(SystemIO::Detail::UniqueFileHandle file) : m_file(std::move(file)) {}
    HANDLE Get() const { return m_file.Get(); }

private:
    SystemIO::Detail::UniqueFileHandle m_file;
};

std::unique_ptr<FileStream> FileStream::Make(const CString& path) {
    SystemIO::Detail::UniqueFileHandle file(
        ::CreateFileW(SystemIO::Detail::ToWin32Path(path).GetString(), GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsValid()) return nullptr;
    return std::unique_ptr<FileStream>(new FileStream(std::make_unique<Handle>(std::move(file))));
}

FileStream::FileStream(std::unique_ptr<Handle> handle) : m_handle(std::move(handle)) {}
FileStream::~FileStream() = default;

// Every write goes to the end of the file as it is then (an offset of all ones), so that a
// second writer of the same file, a second session in one folder say, leaves no gap and
// overwrites nothing.
bool FileStream::Write(const void* data, std::size_t size) {
    const HANDLE file = m_handle->Get();
    const auto* next = static_cast<const char*>(data);
    std::size_t landed = 0;
    while (landed < size) {
        OVERLAPPED atTheEnd{};
        atTheEnd.Offset = atTheEnd.OffsetHigh = 0xFFFFFFFF;
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(size - landed, 0x7FFFFFFF));
        DWORD written = 0;
        if (!::WriteFile(file, next + landed, chunk, &written, &atTheEnd) || written == 0) {
            // The system took part of the bytes at most (a full disk): cut them off again.
            LARGE_INTEGER end;
            if (landed > 0 && ::GetFileSizeEx(file, &end) && end.QuadPart >= static_cast<LONGLONG>(landed)) {
                end.QuadPart -= static_cast<LONGLONG>(landed);
                if (::SetFilePointerEx(file, end, nullptr, FILE_BEGIN)) ::SetEndOfFile(file);
            }
            return false;
        }
        landed += written;
    }
    return true;
}

bool FileStream::SetLastWriteTime(std::uint64_t ticks) {
    const FILETIME time{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
    return ::SetFileTime(m_handle->Get(), nullptr, nullptr, &time) != FALSE;
}

}  // namespace OvxUtils
