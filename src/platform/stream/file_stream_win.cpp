// FileStream on Windows: one shared file handle, one WriteFile per Write.
#include "platform/stream/file_stream.h"

#include "platform/system_io/win32_io.h"

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

bool FileStream::Write(const void* data, std::size_t size) {
    return SystemIO::Detail::WriteAll(m_handle->Get(), data, size);
}

bool FileStream::SetLastWriteTime(std::uint64_t ticks) {
    const FILETIME time{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
    return ::SetFileTime(m_handle->Get(), nullptr, nullptr, &time) != FALSE;
}

}  // namespace OvxUtils
