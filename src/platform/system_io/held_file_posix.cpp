// HeldFile on POSIX systems: an exclusive flock() on the file.
#include "platform/system_io/held_file.h"

#include "platform/system_io/file_system.h"
#include "platform/system_io/posix_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace OvxUtils::SystemIO {

namespace {

// Whether another holder is at work on the file of fd; otherwise fd holds it now. A file
// system without locks counts as free: a session there then takes every marker for a
// trace, as if locks did not exist.
bool HeldByAnother(int fd) {
    int locked;
    do {
        locked = ::flock(fd, LOCK_EX | LOCK_NB);
    } while (locked != 0 && errno == EINTR);
    return locked != 0 && errno == EWOULDBLOCK;
}

}  // namespace

// Between the creation and the hold, another process may look at the file (IsHeld) or
// take it for a trace and delete it (DeleteUnlessHeld); the hold waits for the look, and
// a file deleted meanwhile is made again.
Result<HeldFile> HeldFile::Create(const CString& path) {
    for (;;) {
        Detail::UniqueFd fd = Detail::OpenFd(path, O_RDWR | O_CREAT | O_EXCL, 0644);
        if (!fd.IsValid()) return SystemError(u"cannot create " + path);
        int locked;
        do {
            locked = ::flock(fd.Get(), LOCK_EX);
        } while (locked != 0 && errno == EINTR);
        struct stat held {}, named {};
        if (locked != 0 || (::fstat(fd.Get(), &held) == 0 && ::stat(path.ToUtf8().c_str(), &named) == 0 &&
                            held.st_dev == named.st_dev && held.st_ino == named.st_ino)) {
            return HeldFile(path, fd.Release());  // held, or on a file system without locks
        }
    }
}

std::optional<Result<HeldFile>> HeldFile::TryHold(const CString& path) {
    Detail::UniqueFd fd = Detail::OpenFd(path, O_RDWR | O_CREAT, 0644);
    if (!fd.IsValid()) return SystemError(u"cannot open " + path);
    if (HeldByAnother(fd.Get())) return std::nullopt;
    return HeldFile(path, fd.Release());
}

bool HeldFile::IsHeld(const CString& path) {
    const Detail::UniqueFd fd = Detail::OpenFd(path, O_RDONLY | O_NOFOLLOW);
    return fd.IsValid() && HeldByAnother(fd.Get());
}

bool HeldFile::DeleteUnlessHeld(const CString& path) {
    const Detail::UniqueFd fd = Detail::OpenFd(path, O_RDONLY | O_NOFOLLOW);
    // Deleted while held by this call, so that no holder can come in between.
    return fd.IsValid() && !HeldByAnother(fd.Get()) && Detail::RemoveEntry(path);
}

std::span<unsigned char> HeldFile::Map(std::size_t size) {
    Unmap();
    if (!IsValid()) return {};
    const int fd = static_cast<int>(m_handle);
    struct stat st {};
    if (::fstat(fd, &st) != 0) return {};
    if (static_cast<std::uint64_t>(st.st_size) < size && ::ftruncate(fd, static_cast<off_t>(size)) != 0) return {};
    void* view = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (view == MAP_FAILED) return {};
    m_view = view;
    m_viewSize = size;
    return {static_cast<unsigned char*>(view), size};
}

void HeldFile::Unmap() {
    if (m_view != nullptr) ::munmap(std::exchange(m_view, nullptr), std::exchange(m_viewSize, 0));
}

void HeldFile::Delete() {
    if (!IsValid()) return;
    Detail::RemoveEntry(m_path);
    Close();
}

void HeldFile::Close() {
    Unmap();
    if (IsValid()) ::close(static_cast<int>(std::exchange(m_handle, -1)));
}

}  // namespace OvxUtils::SystemIO
