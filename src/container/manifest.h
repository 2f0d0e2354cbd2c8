// Manifest: the list of root files that the manifest entry holds. Internal to ZipContainer.
#pragma once

#include "OvxComponent/container/result.h"
#include "OvxComponent/container/root_file_info.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace VdcContainer {

struct Manifest {
    std::vector<RootFileInfo> rootFiles;
    CString mainRootFile;  // name of the main root file; empty when there is none

    std::string ToXml() const;
    // Refuses a root file whose name is not a valid entry name, a name listed twice, and
    // more than one main root file.
    static Result<Manifest> FromXml(std::string_view bytes, std::uint64_t maxSize);
};

}  // namespace VdcContainer
