/// \file
/// RootFileInfo (also ZipContainer::RootFileInfo): the description of one root file, an XML
/// document of the package that the manifest lists.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/xml_names.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/multi_language_string.h"

namespace VdcContainer {

/// A root file of a container: an XML entry that the container lists with its kind.
struct RootFileInfo {
    CString name{};                   ///< entry name, '/' between segments
    XmlNS::ElementDef rootElement{};  ///< the document's root element
    /// The root file's MIME type.
    CString mimeType{};
    CString kind{};                   ///< what the file is for; empty for the main root file
    /// The root file's title.
    MultiLanguageString title{};
};

}  // namespace VdcContainer
