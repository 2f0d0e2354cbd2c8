// AddFiles: puts files from disk into a container, under a folder of the archive.
#pragma once

#include "OvxComponent/container/result.h"
#include "OvxComponent/container/root_file_info.h"
#include "OvxComponent/platform/array_view.h"
#include "OvxComponent/platform/cstring.h"

#include <map>

namespace VdcContainer {

class ZipContainer;
class ZipContainerSubtypeBase;

// Adds each file under folder (for example "content") with its path relative to
// baseFolder: '/' between segments, UTF-8. A file whose relative path is a key of
// rootFiles becomes a root file instead, stored under its RootFileInfo's name (or the key
// when that is empty) and listed in the manifest; it must be well-formed XML. Refuses a
// file that is missing or lies outside baseFolder, and any path that EntryName refuses or
// that is taken; then no content entry is added. The files are read when the container is
// saved.
Result<void> AddFiles(ZipContainer& container, const CString& baseFolder,
                              OvxUtils::array_view<const CString> files, const CString& folder,
                              const std::map<CString, RootFileInfo>& rootFiles = {});
Result<void> AddFiles(ZipContainerSubtypeBase& container, const CString& baseFolder,
                              OvxUtils::array_view<const CString> files, const CString& folder,
                              const std::map<CString, RootFileInfo>& rootFiles = {});

}  // namespace VdcContainer
