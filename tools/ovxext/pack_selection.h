// PackSelection: which files under a folder go into a package, and why others do not.
//
// Left out: version-control folders, the debris of operating systems and editors, what
// the folder's .ovxextignore names (IgnoreRules), the project file, the ignore file and
// the package being written. A symbolic link is refused unless links are
// followed, and then only one that points at a file inside the folder is taken.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <string>
#include <vector>

namespace Ovxext {

struct PackSelectionOptions {
    bool followLinks = false;
    CString output;  // the package being written; never packed
};

// The files to pack, in the order Folder::Visit lists them. Refuses a link that may not
// be followed, naming it, and a folder where nothing is left to pack.
OvxUtils::Result<std::vector<CString>> SelectFilesToPack(const CString& folder, const PackSelectionOptions& options);

// The name of path below folder, '/' between segments, as the package stores it under
// content/.
std::string RelativeName(const CString& folder, const CString& path);

// The project file that 'ovxext init' writes in a folder: the metadata that every pack of
// the folder starts from, its document ID above all.
inline constexpr char16_t kProjectFileName[] = u"ovxext.xml";

}  // namespace Ovxext
