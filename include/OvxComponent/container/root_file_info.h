// RootFileInfo (also ZipContainer::RootFileInfo): the description of one root file, an XML
// document of the package that the manifest lists.
#pragma once

#include "OvxComponent/container/xml_names.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/multi_language_string.h"

namespace VdcContainer {

struct RootFileInfo {
    CString name{};                   // entry name, '/' between segments
    XmlNS::ElementDef rootElement{};  // the document's root element
    CString mimeType{};
    CString kind{};                   // what the file is for; empty for the main root file
    MultiLanguageString title{};
};

}  // namespace VdcContainer
