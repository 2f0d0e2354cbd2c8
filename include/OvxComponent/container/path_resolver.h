/// \file
/// PathResolver: turns the paths given to container operations into the paths used.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

namespace VdcContainer {

/// Maps the paths that a cloned container writes to, for callers that redirect them.
class OVX_API PathResolver {
public:
    /// Leaves every path as it is.
    PathResolver() = default;
    /// Takes relative paths as relative to baseFolder; rooted paths stay as they are.
    /// \param baseFolder The folder that relative paths are resolved against.
    explicit PathResolver(CString baseFolder) : m_baseFolder(std::move(baseFolder)) {}

    /// The path to use for path.
    /// \param path A path, relative or absolute.
    /// \return The path to use.
    CString Resolve(const CString& path) const;

private:
    CString m_baseFolder;
};

}  // namespace VdcContainer
