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

std::shared_ptr<Stream> FileStream::Create(const CString& path) {
    SystemIO::Detail::UniqueFileHandle file(
        ::CreateFileW(SystemIO::Detail::ToWin32Path(path).GetString(), GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsValid()) return nullptr;
    return std::shared_ptr<Stream>(new FileStream(std::make_unique<Handle>(std::move(file))));
}

FileStream::FileStream(std::unique_ptr<Handle> handle) : m_handle(std::move(handle)) {}
FileStream::~FileStream() = default;

bool FileStream::Write(const void* data, std::size_t size) {
    return SystemIO::Detail::WriteAll(m_handle->Get(), data, size);
}

}  // namespace OvxUtils
