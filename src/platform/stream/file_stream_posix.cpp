// FileStream on POSIX systems: one descriptor, one write() per Write.
#include "platform/stream/file_stream.h"

#include "platform/system_io/posix_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace OvxUtils {

class FileStream::Handle {
public:
    explicit Handle(SystemIO::Detail::UniqueFd fd) : m_fd(std::move(fd)) {}
    int Get() const { return m_fd.Get(); }

private:
    SystemIO::Detail::UniqueFd m_fd;
};

std::unique_ptr<FileStream> FileStream::Make(const CString& path) {
    SystemIO::Detail::UniqueFd fd = SystemIO::Detail::OpenFd(path, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND);
    if (!fd.IsValid()) return nullptr;
    return std::unique_ptr<FileStream>(new FileStream(std::make_unique<Handle>(std::move(fd))));
}

FileStream::FileStream(std::unique_ptr<Handle> handle) : m_handle(std::move(handle)) {}
FileStream::~FileStream() = default;

// Every write goes to the end of the file as it is then (O_APPEND), so that a second writer
// of the same file, a second session in one folder say, leaves no gap and overwrites nothing.
bool FileStream::Write(const void* data, std::size_t size) {
    const int fd = m_handle->Get();
    const auto* next = static_cast<const char*>(data);
    std::size_t landed = 0;
    while (landed < size) {
        const ssize_t written = ::write(fd, next + landed, size - landed);
        if (written > 0) {
            landed += static_cast<std::size_t>(written);
        } else if (written != 0 && errno == EINTR) {
            continue;
        } else {
            // The system took part of the bytes at most (a full disk): cut them off again.
            // They end where the descriptor's offset is now.
            const off_t end = ::lseek(fd, 0, SEEK_CUR);
            if (landed > 0 && end >= static_cast<off_t>(landed)) {
                // At best: where the cut fails too, the write's failure is what counts.
                [[maybe_unused]] const int cut = ::ftruncate(fd, end - static_cast<off_t>(landed));
            }
            return false;
        }
    }
    return true;
}

bool FileStream::SetLastWriteTime(std::uint64_t ticks) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, SystemIO::Detail::TimespecOfTicks(ticks)};
    return ::futimens(m_handle->Get(), times) == 0;
}

}  // namespace OvxUtils
