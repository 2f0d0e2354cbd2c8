// NativeIO on POSIX systems: libzip paths, reads that never wait, positional reads and renames.
#include "container/native_io.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VdcContainer::NativeIO {

std::string ZipPath(const CString& path) { return path.ToUtf8(); }

std::FILE* OpenForReading(const CString& path) {
    const int fd = ::open(path.ToUtf8().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return nullptr;
    // Reads of a regular file never wait anyway; what is not one is refused before reading.
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    std::FILE* file = ::fdopen(fd, "rb");
    if (file == nullptr) ::close(fd);
    return file;
}

std::optional<std::uint64_t> RegularFileSize(std::FILE* file) {
    struct stat status;
    if (::fstat(::fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool ReadAt(std::FILE* file, std::uint64_t offset, std::size_t count, char* out) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(::fileno(file), out + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        done += static_cast<std::size_t>(got);
    }
    return true;
}

bool Move(const CString& from, const CString& to) {
    return std::rename(from.ToUtf8().c_str(), to.ToUtf8().c_str()) == 0;
}

bool PathsIgnoreCase() { return false; }

}  // namespace VdcContainer::NativeIO
