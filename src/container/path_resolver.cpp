// PathResolver: the paths that container operations use for the paths they are given.
#include "OvxComponent/container/path_resolver.h"

#include "platform/system_io/path.h"

namespace VdcContainer {

CString PathResolver::Resolve(const CString& path) const {
    namespace Path = OvxUtils::SystemIO::Path;
    if (m_baseFolder.IsEmpty() || Path::IsRooted(path)) return path;
    return Path::Combine(m_baseFolder, path);
}

}  // namespace VdcContainer
