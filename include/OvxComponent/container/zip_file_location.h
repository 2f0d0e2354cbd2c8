/// \file
/// ZipFileLocation and the root-file delegates that subtypes use to add further root files
/// when a package is saved, and to read them when it is opened.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/xml_names.h"
#include "OvxComponent/container/xml_node.h"
#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/delegate.h"
#include "OvxComponent/platform/multi_language_string.h"

#include <cstdint>

namespace VdcContainer {

/// Where a root file lies in a container, and what it is.
struct ZipFileLocation {
    CString fileName{};      ///< entry name of the root file
    /// The file's MIME type.
    CString mimeType{};
    CString rootFileKind{};  ///< as RootFileInfo::kind
    /// The file's title.
    MultiLanguageString title{};
    std::int64_t size = -1;      ///< bytes; -1 when not known
    std::int64_t position = -1;  ///< index of the entry in the archive; -1 when not known
};

/// Creates the root file at the location with the given root element, lets the inner
/// delegate fill it, and keeps it to be written with the package. Returns what the inner
/// delegate returns; false without calling it when the name is not a valid entry name or is
/// one of the container's own entries.
using AddRootFileDelegate = OvxUtils::Delegate<bool(ZipFileLocation, const XmlNS::ElementDef&,
                                                    OvxUtils::Delegate<bool(XmlNS::Node&)>)>;
/// Finds and parses the root file at the location and hands its root to the inner
/// delegate. Returns what the inner delegate returns; false without calling it when the
/// entry is missing, is not well-formed XML, or its root is not the given element.
/// Both delegates are valid only during the Serialize or Deserialize call they are given to.
using ReadRootFileDelegate = OvxUtils::Delegate<bool(ZipFileLocation, const XmlNS::ElementDef&,
                                                     OvxUtils::Delegate<bool(const XmlNS::Node&)>)>;

}  // namespace VdcContainer
