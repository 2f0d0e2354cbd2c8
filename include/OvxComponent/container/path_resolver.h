// PathResolver: turns the paths given to container operations into the paths used.
#pragma once

#include "OvxComponent/platform/cstring.h"

namespace VdcContainer {

class OVX_API PathResolver {
public:
    // Leaves every path as it is.
    PathResolver() = default;
    // Takes relative paths as relative to baseFolder; rooted paths stay as they are.
    explicit PathResolver(CString baseFolder) : m_baseFolder(std::move(baseFolder)) {}

    CString Resolve(const CString& path) const;

private:
    CString m_baseFolder;
};

}  // namespace VdcContainer
