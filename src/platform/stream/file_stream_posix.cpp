// FileStream on POSIX systems: one descriptor, one write() per Write.
#include "platform/stream/file_stream.h"

#include "platform/system_io/posix_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OvxUtils {

class FileStream::Handle {
public:
    explicit Handle(SystemIO::Detail::UniqueFd fd) : m_fd(std::move(fd)) {}
    int Get() const { return m_fd.Get(); }

    std::uint64_t written = 0;  // the file's length: every Write so far landed whole

private:
    SystemIO::Detail::UniqueFd m_fd;
};

std::unique_ptr<FileStream> FileStream::Make(const CString& path) {
    SystemIO::Detail::UniqueFd fd = SystemIO::Detail::OpenFd(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!fd.IsValid()) return nullptr;
    return std::unique_ptr<FileStream>(new FileStream(std::make_unique<Handle>(std::move(fd))));
}

FileStream::FileStream(std::unique_ptr<Handle> handle) : m_handle(std::move(handle)) {}
FileStream::~FileStream() = default;

bool FileStream::Write(const void* data, std::size_t size) {
    const int fd = m_handle->Get();
    if (SystemIO::Detail::WriteAll(fd, data, size)) {
        m_handle->written += size;
        return true;
    }
    // The system took part of the bytes at most (a full disk): cut them off again.
    const auto end = static_cast<off_t>(m_handle->written);
    if (::ftruncate(fd, end) == 0) ::lseek(fd, end, SEEK_SET);
    return false;
}

bool FileStream::SetLastWriteTime(std::uint64_t ticks) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, SystemIO::Detail::TimespecOfTicks(ticks)};
    return ::futimens(m_handle->Get(), times) == 0;
}

}  // namespace OvxUtils
