/// \file
/// ZipFile::OpenMode: how a container file is opened.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

namespace VdcContainer::ZipFile {

/// How a package is opened.
enum class OpenMode {
    ReadOnly,   ///< an existing package; nothing is ever written
    ReadWrite,  ///< an existing package; changes are written by Save or Close
    Create,     ///< a new package; an existing file is replaced when the package is saved
};

}  // namespace VdcContainer::ZipFile
