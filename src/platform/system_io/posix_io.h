// File descriptor helpers shared by the POSIX file-system and stream sources.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "platform/system_io/file.h"

#include <time.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace OvxUtils::SystemIO::Detail {

// Owns one file descriptor and closes it.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.m_fd, -1));
        return *this;
    }
    ~UniqueFd() { Reset(); }

    bool IsValid() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    // Gives up ownership without closing.
    int Release() { return std::exchange(m_fd, -1); }
    void Reset(int fd = -1) {
        if (m_fd >= 0) ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

// A file time in ticks since 1601 as the system's time since 1970.
inline struct timespec TimespecOfTicks(std::uint64_t ticks) {
    struct timespec time {};
    using File::kEpochOffsetSeconds, File::kTicksPerSecond;
    time.tv_sec = static_cast<time_t>(static_cast<std::int64_t>(ticks / kTicksPerSecond) - kEpochOffsetSeconds);
    time.tv_nsec = static_cast<long>(ticks % kTicksPerSecond) * 100;
    return time;
}

// open() with O_CLOEXEC added; retried when interrupted.
UniqueFd OpenFd(const CString& path, int flags, int mode = 0666);

// Writes all bytes, looping over partial writes; false on the first error.
bool WriteAll(int fd, const void* data, std::size_t size);

}  // namespace OvxUtils::SystemIO::Detail
