// NativeIO on Windows.
#include "container/native_io.h"

#include "platform/system_io/win32_io.h"

namespace VdcContainer::NativeIO {

using OvxUtils::SystemIO::Detail::ToWin32Path;

std::string ZipPath(const CString& path) { return ToWin32Path(path).ToUtf8(); }

std::FILE* OpenForReading(const CString& path) {
    // 'N': not inherited by child processes.
    return ::_wfopen(ToWin32Path(path).GetString(), L"rbN");
}

bool Move(const CString& from, const CString& to) {
    return ::MoveFileExW(ToWin32Path(from).GetString(), ToWin32Path(to).GetString(), MOVEFILE_REPLACE_EXISTING) != 0;
}

bool PathsIgnoreCase() { return true; }

}  // namespace VdcContainer::NativeIO
