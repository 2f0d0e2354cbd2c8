// NativeIO on Windows: libzip paths, reads that never wait, positional reads and renames.
#include "container/native_io.h"

#include "platform/system_io/win32_io.h"

#include <io.h>
#include <sys/stat.h>

namespace VdcContainer::NativeIO {

using OvxUtils::SystemIO::Detail::ToWin32Path;

std::string ZipPath(const CString& path) { return ToWin32Path(path).ToUtf8(); }

std::FILE* OpenForReading(const CString& path) {
    // 'N': not inherited by child processes.
    return ::_wfopen(ToWin32Path(path).GetString(), L"rbN");
}

std::optional<std::uint64_t> RegularFileSize(std::FILE* file) {
    struct _stat64 status;
    if (::_fstat64(::_fileno(file), &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool ReadAt(std::FILE* file, std::uint64_t offset, std::size_t count, char* out) {
    return ::_fseeki64(file, static_cast<__int64>(offset), SEEK_SET) == 0 && std::fread(out, 1, count, file) == count;
}

bool Move(const CString& from, const CString& to) {
    const CString source = ToWin32Path(from);
    const CString target = ToWin32Path(to);
    return OvxUtils::SystemIO::Detail::RetryWhileHeld([&] {
        return ::MoveFileExW(source.GetString(), target.GetString(), MOVEFILE_REPLACE_EXISTING) != 0;
    });
}

bool PathsIgnoreCase() { return true; }

}  // namespace VdcContainer::NativeIO
