// NativeIO on POSIX systems.
#include "container/native_io.h"

#include <cstdio>

namespace VdcContainer::NativeIO {

std::string ZipPath(const CString& path) { return path.ToUtf8(); }

bool Move(const CString& from, const CString& to) {
    return std::rename(from.ToUtf8().c_str(), to.ToUtf8().c_str()) == 0;
}

bool PathsIgnoreCase() { return false; }

}  // namespace VdcContainer::NativeIO
