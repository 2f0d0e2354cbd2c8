/// \file
/// ExtensionContainer: the typed handle of an extension package. An empty handle (not
/// open) stands for failure.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/zip_container_subtype.h"
#include "OvxComponent/extensions/format/extension_container_class.h"
#include "OvxComponent/extensions/format/extension_container_info.h"

namespace OvxComponent {

/// An extension package, opened with its record.
using ExtensionContainer = VdcContainer::ZipContainerSubtype<ExtensionContainerInfo, ExtensionContainerClass>;

}  // namespace OvxComponent
