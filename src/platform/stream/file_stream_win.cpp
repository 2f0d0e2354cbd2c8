// FileStream on Windows: one shared file handle, one WriteFile per Write.
#include "platform/stream/file_stream.h"

#include "platform/system_io/win32_io.h"

namespace OvxUtils {

class FileStream::Handle {
public:
    explicit Handle(SystemIO::Detail::UniqueFileHandle file) : m_file(std::move(file)) {}
    HANDLE Get() const { return m_file.Get(); }

    std::uint64_t written = 0;  // the file's length: every Write so far landed whole

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

bool FileStream::Write(const void* data, std::size_t size) {
    const HANDLE file = m_handle->Get();
    if (SystemIO::Detail::WriteAll(file, data, size)) {
        m_handle->written += size;
        return true;
    }
    // The system took part of the bytes at most (a full disk): cut them off again.
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(m_handle->written);
    if (::SetFilePointerEx(file, end, nullptr, FILE_BEGIN)) ::SetEndOfFile(file);
    return false;
}

bool FileStream::SetLastWriteTime(std::uint64_t ticks) {
    const FILETIME time{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
    return ::SetFileTime(m_handle->Get(), nullptr, nullptr, &time) != FALSE;
}

}  // namespace OvxUtils
