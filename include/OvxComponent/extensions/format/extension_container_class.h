/// \file
/// ExtensionContainerClass: tells the container library how to recognise an extension
/// package and how to make its ExtensionContainerInfo. Stateless; copy it freely.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/subtype_class.h"
#include "OvxComponent/platform/ovx_export.h"

namespace OvxComponent {

/// The kind of container that extension packages are.
class OVX_API ExtensionContainerClass {
public:
    /// The one MIME type of extension packages, extension.xml as main root file, and a
    /// factory that makes a default ExtensionContainerInfo for the container to fill.
    /// \return The kind of container, to open packages as.
    VdcContainer::SubtypeClass operator()() const;
};

}  // namespace OvxComponent
