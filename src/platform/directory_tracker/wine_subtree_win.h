// What a Windows tracking does to be served as well under Wine as on Windows itself.
//
// Wine's server watches a folder's subtree only as far as it has seen the subfolders:
// those made after the watch began and those that the process opened while it was in
// place. Folders that existed before, or that were moved in, are seen once the process
// opens each of them, from the top down, after the watch began.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <windows.h>

#include <vector>

namespace OvxUtils::DirectoryTracking::WineSubtree {

// True when this process runs under Wine; decided once.
bool IsWine();

// Opens every folder below folder once, parents first.
void OpenFoldersBelow(const CString& folder);

// The names, relative to the watched folder, that the FILE_NOTIFY_INFORMATION records of
// one completed read give as added or renamed to.
std::vector<CString> AddedNames(const void* records, DWORD size);

// Opens each added name that is a folder, and every folder below it.
void OpenAddedFolders(const CString& watched, const std::vector<CString>& names);

}  // namespace OvxUtils::DirectoryTracking::WineSubtree
