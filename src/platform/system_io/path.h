// Path: string operations on file-system paths. Nothing here touches the disk.
//
// On Windows both '\\' and '/' separate components when a path is read, and a path may
// start with a drive ("C:"), a UNC share ("\\server\share") or a device prefix
// ("\\?\C:", "\\?\UNC\server\share"). Elsewhere '/' is the only separator.
#pragma once

#include "OvxComponent/platform/cstring.h"

namespace OvxUtils::SystemIO::Path {

// The separator this platform writes: '\\' on Windows, '/' elsewhere.
CString::XCHAR Separator();
bool IsSeparator(CString::XCHAR unit);

// Joins with exactly one separator between the parts. An empty part is left out, and a
// rooted later part replaces everything before it.
CString Combine(const CString& a, const CString& b);
CString Combine(const CString& a, const CString& b, const CString& c);

// True when the path starts at a root: "/x"; on Windows also "\x", "C:", "C:\x",
// "\\server\share".
bool IsRooted(const CString& path);

// The last component; empty when the path ends with a separator or is only a root.
CString GetFileName(const CString& path);

// The folder part of a path, up to and including its last separator: "a/b/c.txt" and
// "a/b/" both give "a/b/", so a path that names a folder by ending in a separator is its
// own folder name. A bare "c.txt" gives "". A root stays whole: "/x" gives "/", "C:\x"
// gives "C:\". Packing takes a folder to pack from in this form.
CString GetFolderName(const CString& path);

// The folder that holds the last component, without a final separator: "a/b/c.txt" and
// "a/b/" both give "a/b"; "c.txt" gives "". A root stays whole.
CString GetParentFolder(const CString& path);

// The path without the separators it ends with, unless they are its root: "a/b//" gives
// "a/b", "/" stays "/", and on Windows "C:\" stays "C:\".
CString WithoutTrailingSeparators(const CString& path);

// The extension of the last component with its dot (".txt"), or "" when it has none. It
// starts at the last dot of the name, so ".profile" is all extension; a dot in a folder
// name never counts.
CString GetExtension(const CString& path);

// Replaces the extension of the last component, or appends one. ext may be given with or
// without its dot; an empty ext removes the extension. A path without a last component
// ("a/b/") comes back unchanged.
CString SetExtension(const CString& path, const CString& ext);

// True when the extension of the last component equals ext, ignoring case the same way
// on every platform (CString::CompareNoCase); ext with or without its dot. An empty ext
// matches a name without extension.
bool HasExtension(const CString& path, const CString& ext);

}  // namespace OvxUtils::SystemIO::Path
