// FileStream on POSIX systems: one descriptor, one write() per Write.
#include "platform/stream/file_stream.h"

#include "platform/system_io/posix_io.h"

#include <fcntl.h>

namespace OvxUtils {

class FileStream::Handle {
public:
    explicit Handle(SystemIO::Detail::UniqueFd fd) : m_fd(std::move(fd)) {}
    int Get() const { return m_fd.Get(); }

private:
    SystemIO::Detail::UniqueFd m_fd;
};

std::shared_ptr<Stream> FileStream::Create(const CString& path) {
    SystemIO::Detail::UniqueFd fd = SystemIO::Detail::OpenFd(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!fd.IsValid()) return nullptr;
    return std::shared_ptr<Stream>(new FileStream(std::make_unique<Handle>(std::move(fd))));
}

FileStream::FileStream(std::unique_ptr<Handle> handle) : m_handle(std::move(handle)) {}
FileStream::~FileStream() = default;

bool FileStream::Write(const void* data, std::size_t size) {
    return SystemIO::Detail::WriteAll(m_handle->Get(), data, size);
}

}  // namespace OvxUtils
