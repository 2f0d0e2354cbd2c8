// File: whole-file operations on the disk. Expected failures (a missing file, no access)
// give false or an empty optional, never an exception.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OvxUtils::SystemIO::File {

// File times count 100 ns ticks since 1601-01-01: the seconds from then to 1970-01-01, and
// the ticks in a second.
inline constexpr std::int64_t kEpochOffsetSeconds = 11644473600;
inline constexpr std::int64_t kTicksPerSecond = 10'000'000;

// A time in whole seconds since 1970 as a file time.
constexpr std::uint64_t TicksOfUnixSeconds(std::int64_t seconds) {
    return static_cast<std::uint64_t>(seconds + kEpochOffsetSeconds) * kTicksPerSecond;
}

// True for a file (after following a link); a folder is not a file.
bool Exists(const CString& path);

// True when no file is at path afterwards, so deleting a missing file succeeds. A folder
// is never deleted (false). On Windows a read-only file is deleted as well.
bool Delete(const CString& path);

// Copies from to a temporary name beside to, flushes the copy to the disk and renames it
// over to in one step, so that whatever happens meanwhile, to is either what it was or
// the complete copy. Keeps the last write time. Only a regular file is copied: a pipe,
// socket or device is refused without being opened for long. The error names the step
// that failed and the system's reason.
Result<void> CopyAtomically(const CString& from, const CString& to);

// Full paths of the files called name (compared with CString::CompareNoCase) in folder
// and, with recursive, in all its subfolders, in Folder::Visit order.
std::vector<CString> Find(const CString& folder, const CString& name, bool recursive);

// What tells one state of a file from another: its size, last write time, the device and
// index that name it on its volume, and the system's change time, which moves on every
// write and which no program can set back. Equal identities mean, as far as the system can
// tell, the same file with the same content, even after a rewrite in place with as many
// bytes and the old last write time.
struct FileIdentity {
    std::uint64_t size = 0;
    std::uint64_t lastWrite = 0;  // GetLastWriteTime's scale
    std::uint64_t device = 0;
    std::uint64_t index = 0;
    std::uint64_t changeTime = 0;  // in the system's own units
    bool operator==(const FileIdentity&) const = default;
};

// The identity of a file (after following a link); no value for a folder, a missing file
// or what is not a regular file.
std::optional<FileIdentity> GetIdentity(const CString& path);

// Size in bytes of a file (after following a link); no value for a folder or a missing file.
std::optional<std::uint64_t> GetSize(const CString& path);

// Last write time of a file or folder in 100 ns ticks since 1601-01-01 UTC (the Windows
// FILETIME scale, on every platform).
std::optional<std::uint64_t> GetLastWriteTime(const CString& path);
bool SetLastWriteTime(const CString& path, std::uint64_t ticks);

// The whole content of a file; the error names the file and the system's reason.
Result<std::string> ReadAllBytes(const CString& path);
// Creates the file or replaces its content; the error names the file and the system's
// reason.
Result<void> WriteAllBytes(const CString& path, std::string_view bytes);
// Who may open a file that WriteAtomically makes.
enum class Access {
    // As the system shares new files: mode 0644 less the umask; on Windows the rules the
    // folder passes on.
    Shared,
    // The current user alone, from the instant the file exists, for secrets: mode 0600
    // whatever the umask; on Windows a protected access list (the folder's rules do not
    // apply) with one entry, full access for the user of the process token. Narrowing a
    // file after creating it would let another user open it meanwhile, and keep it open.
    OwnerOnly,
};
// Writes bytes under a temporary name beside path, flushes them to the disk and renames
// them over path in one step: path holds the old content or the new, whatever happens.
Result<void> WriteAtomically(const CString& path, std::string_view bytes, Access access = Access::Shared);
// The same for content that something else writes into a file of its own: write makes
// the new file at the temporary path it is given, beside path; then it is flushed to the
// disk and renamed over path in one step (on Windows waiting out a brief hold of path). The
// temporary file goes when write or any step fails, and the error is write's own or names
// the step.
Result<void> ReplaceAtomically(const CString& path, const std::function<Result<void>(const CString& temporary)>& write);
// Reads the file from start to end in chunks of a bounded size, handing each to sink,
// which may stop the read by returning false (the result is then still a success).
Result<void> ReadChunks(const CString& path, const std::function<bool(std::string_view)>& sink);

}  // namespace OvxUtils::SystemIO::File
