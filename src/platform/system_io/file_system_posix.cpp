// File-system primitives on POSIX systems. Paths go to the system as UTF-8; a name on
// disk that is not UTF-8 is listed with U+FFFD in place of its bad bytes, so it cannot be
// reached again through these functions.
#include "platform/system_io/file.h"
#include "platform/system_io/file_system.h"
#include "platform/system_io/path.h"
#include "platform/system_io/posix_io.h"
#include "platform/system_io/temporary_name.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>

namespace OvxUtils::SystemIO {

namespace {

using File::kEpochOffsetSeconds;
using File::kTicksPerSecond;

bool StatPath(const CString& path, struct stat& st) { return ::stat(path.ToUtf8().c_str(), &st) == 0; }

Detail::EntryType TypeOf(const struct stat& st) {
    if (S_ISREG(st.st_mode)) return Detail::EntryType::File;
    if (S_ISDIR(st.st_mode)) return Detail::EntryType::Folder;
    return Detail::EntryType::Other;
}

// Opens a file for reading and tells what it is. The open does not wait (a pipe with no
// writer would block it for ever), and what it is is read from the open descriptor, so
// nothing can be swapped in between. A regular file is then read in the usual blocking way.
Detail::UniqueFd OpenForReading(const CString& path, struct stat& st) {
    Detail::UniqueFd fd = Detail::OpenFd(path, O_RDONLY | O_NONBLOCK);
    if (!fd.IsValid()) return fd;
    if (::fstat(fd.Get(), &st) != 0) return Detail::UniqueFd();
    if (S_ISREG(st.st_mode)) ::fcntl(fd.Get(), F_SETFL, ::fcntl(fd.Get(), F_GETFL) & ~O_NONBLOCK);
    return fd;
}

// Copies the rest of source into target, then its mode and last write time; false with
// errno set on the first failure.
bool CopyContent(int source, int target, const struct stat& sourceStat) {
    constexpr std::size_t kChunk = 128 * 1024;
    auto buffer = std::make_unique_for_overwrite<char[]>(kChunk);
    for (;;) {
        const ssize_t got = ::read(source, buffer.get(), kChunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        if (!Detail::WriteAll(target, buffer.get(), static_cast<std::size_t>(got))) return false;
    }
    const struct timespec times[2] = {{0, UTIME_OMIT}, sourceStat.st_mtim};
    return ::fchmod(target, sourceStat.st_mode & 07777) == 0 && ::futimens(target, times) == 0;
}

}  // namespace

namespace Detail {

UniqueFd OpenFd(const CString& path, int flags, int mode) {
    const std::string native = path.ToUtf8();
    int fd;
    do {
        fd = ::open(native.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

bool WriteAll(int fd, const void* data, std::size_t size) {
    const auto* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(fd, next, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

EntryInfo GetEntryInfo(const CString& path) {
    const std::string native = path.ToUtf8();
    struct stat st {};
    if (::lstat(native.c_str(), &st) != 0) return {};
    EntryInfo info;
    info.isLink = S_ISLNK(st.st_mode);
    if (info.isLink && ::stat(native.c_str(), &st) != 0) return info;
    info.type = TypeOf(st);
    return info;
}

std::optional<std::vector<FolderEntry>> ReadFolder(const CString& path) {
    // The entries straight from the descriptor: opendir would look at the folder once more
    // with a status call before the first read, and folders are listed on every rescan.
    const UniqueFd folder = OpenFd(path, O_RDONLY | O_DIRECTORY);
    if (!folder.IsValid()) return std::nullopt;
    std::vector<FolderEntry> entries;
    alignas(dirent64) char buffer[16384];
    for (;;) {
        const ssize_t got = ::getdents64(folder.Get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        for (ssize_t at = 0; at < got;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
            at += entry->d_reclen;
            const char* name = entry->d_name;
            if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
            FolderEntry item{CString::FromUtf8(name)};
            if (entry->d_type == DT_DIR) {
                item.isFolder = true;
            } else if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
                const EntryInfo info = GetEntryInfo(Path::Combine(path, item.name));
                item.isFolder = info.type == EntryType::Folder;
                item.isLink = info.isLink;
            }
            entries.push_back(std::move(item));
        }
    }
    return entries;
}

bool CreateFolder(const CString& path) {
    if (::mkdir(path.ToUtf8().c_str(), 0777) == 0) return true;
    return errno == EEXIST && GetEntryInfo(path).type == EntryType::Folder;
}

bool HoldsFiles(const CString& folder, const std::vector<ExpectedFile>& files) {
    std::string path = folder.ToUtf8();
    if (path.empty() || path.back() != '/') path += '/';
    const std::size_t base = path.size();
    struct stat st {};
    for (const ExpectedFile& file : files) {
        path.resize(base);
        path += file.relativeUtf8;
        if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || static_cast<std::uint64_t>(st.st_size) != file.size) {
            return false;
        }
    }
    return true;
}

bool MoveEntry(const CString& from, const CString& to) {
    return ::rename(from.ToUtf8().c_str(), to.ToUtf8().c_str()) == 0;
}

bool RemoveEntry(const CString& path) {
    const std::string native = path.ToUtf8();
    struct stat st {};
    if (::lstat(native.c_str(), &st) != 0) return errno == ENOENT;
    const int result = S_ISDIR(st.st_mode) ? ::rmdir(native.c_str()) : ::unlink(native.c_str());
    return result == 0 || errno == ENOENT;
}

}  // namespace Detail

namespace {

// Writes a fresh file under a temporary name beside to, created with mode (exactly mode
// when exactMode, whatever the umask), through write; flushes it, renames it over to and
// flushes the folder, so that the rename is durable too. The temporary file goes when any
// step fails, and to is then as it was.
Result<void> ReplaceThroughTemporary(const CString& to, mode_t mode, bool exactMode,
                                     const std::function<bool(int fd)>& write) {
    const CString temporary = TemporaryName::Beside(to, TemporaryName::kWriting);
    Detail::UniqueFd target = Detail::OpenFd(temporary, O_WRONLY | O_CREAT | O_EXCL, mode);
    if (!target.IsValid()) return SystemError(u"cannot create " + temporary);
    const auto fail = [&](const CString& what) {
        const Error error = SystemError(what);
        ::unlink(temporary.ToUtf8().c_str());
        return error;
    };
    // The umask can only have narrowed the mode; set again, it is exactly the one asked for.
    if (exactMode && ::fchmod(target.Get(), mode) != 0) return fail(u"cannot set the access of " + temporary);
    if (!write(target.Get())) return fail(u"cannot write " + temporary);
    if (::fsync(target.Get()) != 0) return fail(u"cannot flush " + temporary);
    if (::close(std::exchange(target, Detail::UniqueFd()).Release()) != 0) return fail(u"cannot write " + temporary);
    if (::rename(temporary.ToUtf8().c_str(), to.ToUtf8().c_str()) != 0) return fail(u"cannot rename " + temporary + u" to " + to);
    const Detail::UniqueFd folder = Detail::OpenFd(Path::GetParentFolder(to), O_RDONLY | O_DIRECTORY);
    if (folder.IsValid()) ::fsync(folder.Get());
    return {};
}

}  // namespace

namespace File {

Result<void> CopyAtomically(const CString& from, const CString& to) {
    struct stat sourceStat {};
    const Detail::UniqueFd source = OpenForReading(from, sourceStat);
    if (!source.IsValid()) return SystemError(u"cannot read " + from);
    if (!S_ISREG(sourceStat.st_mode)) return Error{from + u" is not a regular file"};
    return ReplaceThroughTemporary(to, 0600, false, [&](int target) { return CopyContent(source.Get(), target, sourceStat); });
}

std::optional<FileIdentity> GetIdentity(const CString& path) {
    struct stat st {};
    if (!StatPath(path, st) || !S_ISREG(st.st_mode)) return std::nullopt;
    const std::uint64_t lastWrite = static_cast<std::uint64_t>(st.st_mtim.tv_sec + kEpochOffsetSeconds) * kTicksPerSecond +
                                    static_cast<std::uint64_t>(st.st_mtim.tv_nsec / 100);
    const std::uint64_t changeTime = static_cast<std::uint64_t>(st.st_ctim.tv_sec) * 1'000'000'000u +
                                     static_cast<std::uint64_t>(st.st_ctim.tv_nsec);
    return FileIdentity{static_cast<std::uint64_t>(st.st_size), lastWrite, static_cast<std::uint64_t>(st.st_dev),
                        static_cast<std::uint64_t>(st.st_ino), changeTime};
}

std::optional<std::uint64_t> GetSize(const CString& path) {
    struct stat st {};
    if (!StatPath(path, st) || S_ISDIR(st.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(st.st_size);
}

std::optional<std::uint64_t> GetLastWriteTime(const CString& path) {
    struct stat st {};
    if (!StatPath(path, st)) return std::nullopt;
    const std::int64_t seconds = static_cast<std::int64_t>(st.st_mtim.tv_sec) + kEpochOffsetSeconds;
    if (seconds < 0) return std::nullopt;
    return static_cast<std::uint64_t>(seconds) * kTicksPerSecond +
           static_cast<std::uint64_t>(st.st_mtim.tv_nsec / 100);
}

bool SetLastWriteTime(const CString& path, std::uint64_t ticks) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, Detail::TimespecOfTicks(ticks)};
    return ::utimensat(AT_FDCWD, path.ToUtf8().c_str(), times, 0) == 0;
}

Result<std::string> ReadAllBytes(const CString& path) {
    const Detail::UniqueFd fd = Detail::OpenFd(path, O_RDONLY);
    struct stat st {};
    if (!fd.IsValid() || ::fstat(fd.Get(), &st) != 0) return SystemError(u"cannot read " + path);
    if (S_ISDIR(st.st_mode)) return SystemError(u"cannot read " + path, EISDIR);
    std::string bytes;
    std::size_t used = 0;
    bytes.resize(S_ISREG(st.st_mode) && st.st_size > 0 ? static_cast<std::size_t>(st.st_size) + 1 : 4096);
    for (;;) {
        if (used == bytes.size()) bytes.resize(bytes.size() * 2);
        const ssize_t got = ::read(fd.Get(), bytes.data() + used, bytes.size() - used);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return SystemError(u"cannot read " + path);
        if (got == 0) break;
        used += static_cast<std::size_t>(got);
    }
    bytes.resize(used);
    return bytes;
}

Result<void> WriteAllBytes(const CString& path, std::string_view bytes) {
    const Detail::UniqueFd fd = Detail::OpenFd(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!fd.IsValid() || !Detail::WriteAll(fd.Get(), bytes.data(), bytes.size())) {
        return SystemError(u"cannot write " + path);
    }
    return {};
}

Result<void> WriteAtomically(const CString& path, std::string_view bytes, Access access) {
    const bool ownerOnly = access == Access::OwnerOnly;
    return ReplaceThroughTemporary(path, ownerOnly ? S_IRUSR | S_IWUSR : 0644, ownerOnly,
                                   [&](int target) { return Detail::WriteAll(target, bytes.data(), bytes.size()); });
}

Result<void> ReplaceAtomically(const CString& path, const std::function<Result<void>(const CString& temporary)>& write) {
    const CString temporary = TemporaryName::Beside(path, TemporaryName::kWriting);
    const auto discard = [&](Error error) {
        ::unlink(temporary.ToUtf8().c_str());
        return error;
    };
    if (auto written = write(temporary); !written) return discard(written.TakeError());
    {
        const Detail::UniqueFd file = Detail::OpenFd(temporary, O_RDONLY);
        if (!file.IsValid() || ::fsync(file.Get()) != 0) return discard(SystemError(u"cannot flush " + temporary));
    }
    if (::rename(temporary.ToUtf8().c_str(), path.ToUtf8().c_str()) != 0) {
        return discard(SystemError(u"cannot rename " + temporary + u" to " + path));
    }
    const Detail::UniqueFd folder = Detail::OpenFd(Path::GetParentFolder(path), O_RDONLY | O_DIRECTORY);
    if (folder.IsValid()) ::fsync(folder.Get());
    return {};
}

Result<void> ReadChunks(const CString& path, const std::function<bool(std::string_view)>& sink) {
    struct stat st {};
    const Detail::UniqueFd fd = OpenForReading(path, st);
    if (!fd.IsValid()) return SystemError(u"cannot read " + path);
    if (!S_ISREG(st.st_mode)) return Error{path + u" is not a regular file"};
    std::string chunk(std::size_t{1} << 16, '\0');
    for (;;) {
        const ssize_t got = ::read(fd.Get(), chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return SystemError(u"cannot read " + path);
        if (got == 0 || !sink(std::string_view(chunk.data(), static_cast<std::size_t>(got)))) return {};
    }
}

}  // namespace File

}  // namespace OvxUtils::SystemIO
