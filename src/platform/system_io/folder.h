// Folder: creating, listing and deleting folders on the disk.
//
// Listings are deterministic on every platform: depth first, the entries of each folder
// sorted by CString ordinal order (UTF-16 code units). Symbolic links and junctions to
// folders are listed but never entered, so a walk cannot loop or leave the tree.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <functional>
#include <vector>

namespace OvxUtils::SystemIO::Folder {

// True for a folder (after following a link).
bool Exists(const CString& path);

// Creates every missing level. The error names the level that could not be made and the
// system's reason; a file in the way is one that exists already.
Result<void> EnsureExists(const CString& path);

// Deletes everything under folder and, with deleteFolderItself, the folder too (then as
// DeleteTree does). Links
// inside are removed without touching their targets; on Windows read-only entries are
// deleted as well. A missing folder counts as deleted (true). When folder is itself a
// link, deleteFolderItself removes only the link, otherwise the content of its target is
// deleted. False when anything that should be gone remains.
bool DeleteRecursive(const CString& folder, bool deleteFolderItself);

// Deletes folder and everything under it in two steps: the folder is first renamed to a
// temporary name beside it (TemporaryName), so that it leaves its place at once, then the
// renamed tree is deleted; a crash in between leaves only a tree that a start-up sweep
// recognises. When the rename is refused the folder is deleted where it is. A missing
// folder counts as deleted; a link is removed without touching its target. The error
// names the first entry that could not be deleted and the system's reason.
Result<void> DeleteTree(const CString& folder);

// Full paths, in Visit order.
std::vector<CString> GetFiles(const CString& path, bool recursive);
std::vector<CString> GetSubfolders(const CString& path, bool recursive);

// Calls visitor for each entry of path (with recursive, for each entry of the whole
// tree), passing the full path and whether it is a folder. A folder is visited before its
// content. The visitor returns false to end the walk. Returns false when path or one of
// its subfolders could not be read; the walk still goes on with the rest.
using Visitor = std::function<bool(const CString& path, bool isFolder)>;
bool Visit(const CString& path, bool recursive, const Visitor& visitor);

}  // namespace OvxUtils::SystemIO::Folder
