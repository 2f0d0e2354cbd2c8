// HeldFile on POSIX systems: an exclusive flock() on the file.
#include "platform/system_io/held_file.h"

#include "platform/system_io/file_system.h"
#include "platform/system_io/posix_io.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

namespace OvxUtils::SystemIO {

namespace {

bool Lock(int fd) {
    int held;
    do {
        held = ::flock(fd, LOCK_EX | LOCK_NB);
    } while (held != 0 && errno == EINTR);
    return held == 0;
}

}  // namespace

Result<HeldFile> HeldFile::Create(const CString& path) {
    Detail::UniqueFd fd = Detail::OpenFd(path, O_RDWR | O_CREAT | O_EXCL, 0644);
    if (!fd.IsValid()) return SystemError(u"cannot create " + path);
    // A file that nobody else has opened yet: the hold cannot be refused.
    if (!Lock(fd.Get())) {
        const Error error = SystemError(u"cannot lock " + path);
        Detail::RemoveEntry(path);
        return error;
    }
    return HeldFile(path, fd.Release());
}

std::optional<Result<HeldFile>> HeldFile::TryHold(const CString& path) {
    Detail::UniqueFd fd = Detail::OpenFd(path, O_RDWR | O_CREAT, 0644);
    if (!fd.IsValid()) return SystemError(u"cannot open " + path);
    if (Lock(fd.Get())) return HeldFile(path, fd.Release());
    if (errno == EWOULDBLOCK) return std::nullopt;
    return SystemError(u"cannot lock " + path);
}

bool HeldFile::IsHeld(const CString& path) {
    const Detail::UniqueFd fd = Detail::OpenFd(path, O_RDONLY | O_NOFOLLOW);
    return fd.IsValid() && !Lock(fd.Get());
}

bool HeldFile::DeleteUnlessHeld(const CString& path) {
    const Detail::UniqueFd fd = Detail::OpenFd(path, O_RDONLY | O_NOFOLLOW);
    // Deleted while held by this call, so that no holder can come in between.
    return fd.IsValid() && Lock(fd.Get()) && Detail::RemoveEntry(path);
}

void HeldFile::Delete() {
    if (!IsValid()) return;
    Detail::RemoveEntry(m_path);
    Close();
}

void HeldFile::Close() {
    if (IsValid()) ::close(static_cast<int>(std::exchange(m_handle, -1)));
}

}  // namespace OvxUtils::SystemIO
