// The operating-system primitives under File and Folder, implemented once per platform
// (file_system_posix.cpp, file_system_win.cpp). Those files also define the File
// functions that are a single system call on each platform (times, whole-file reads and
// writes, copying). Internal to the component.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace OvxUtils::SystemIO::Detail {

enum class EntryType { None, File, Folder, Other };

struct EntryInfo {
    EntryType type = EntryType::None;  // what the path leads to, links followed
    bool isLink = false;               // the path itself is a symbolic link or junction
};

struct FolderEntry {
    CString name;
    bool isFolder = false;  // links followed
    bool isLink = false;
};

EntryInfo GetEntryInfo(const CString& path);

// The entries of one folder without "." and "..", in the order the system lists them;
// nullopt when the folder cannot be read.
std::optional<std::vector<FolderEntry>> ReadFolder(const CString& path);

// Creates one folder level; true when a folder is at path afterwards.
bool CreateFolder(const CString& path);

// Removes a file, a link or an empty folder without following links (on Windows also
// when read-only); true when nothing is at path afterwards.
bool RemoveEntry(const CString& path);

// A file expected below a folder: its path relative to the folder, UTF-8 with '/'
// between segments, and its size in bytes.
struct ExpectedFile {
    std::string_view relativeUtf8;
    std::uint64_t size = 0;
};

// True when every file is below folder with its size. Cheaper than File::GetSize per file:
// the folder's native path is built once.
bool HoldsFiles(const CString& folder, const std::vector<ExpectedFile>& files);

// Renames a file, link or folder without following links; a file at to is replaced, a
// folder at to is not. True on success; the system's error is left for LastSystemError.
bool MoveEntry(const CString& from, const CString& to);

}  // namespace OvxUtils::SystemIO::Detail
