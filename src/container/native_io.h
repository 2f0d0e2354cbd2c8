// The few file operations that the container needs beyond SystemIO, implemented once per
// platform (native_io_posix.cpp, native_io_win.cpp). Internal.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace VdcContainer::NativeIO {

// The path as libzip's file functions take it: UTF-8, and on Windows with the long-path
// prefix when the path needs it.
std::string ZipPath(const CString& path);

// Opens a file for binary reading, not inherited by child processes; null on failure
// (LastSystemError says why). The open never waits: a pipe or device named like a package
// cannot block it; RegularFileSize then refuses it.
std::FILE* OpenForReading(const CString& path);

// The size of an open file; no value when it is not a regular file (a folder, a device).
std::optional<std::uint64_t> RegularFileSize(std::FILE* file);

// Reads count bytes at offset of an open file; false when they cannot all be read.
bool ReadAt(std::FILE* file, std::uint64_t offset, std::size_t count, char* out);

// Renames a file or folder. A file at to is replaced; a folder at to must not exist (on
// POSIX systems an empty one is replaced). True on success.
bool Move(const CString& from, const CString& to);

// True where the file system ignores letter case in names (Windows).
bool PathsIgnoreCase();

}  // namespace VdcContainer::NativeIO
