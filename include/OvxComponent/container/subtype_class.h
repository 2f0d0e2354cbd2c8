/// \file
/// SubtypeClass: how the container recognises one kind of package and makes its
/// SubtypeInfo. A plain value, copied freely.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/container/root_file_info.h"
#include "OvxComponent/container/subtype_info.h"
#include "OvxComponent/container/xml_node.h"
#include "OvxComponent/container/zip_file_location.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace VdcContainer {

/// A kind of container: its MIME types, its main root file, and how its record is read.
struct SubtypeClass {
    /// Reads a container's record from its metadata and main root file.
    using Factory = std::function<std::unique_ptr<SubtypeInfo>(const Metadata::Container&, const XmlNS::Node&,
                                                                ReadRootFileDelegate)>;

    /// The container MIME types of this kind of package; a new package gets the first.
    std::vector<CString> mimeTypes;
    /// The main root file that every container of the kind has.
    RootFileInfo mainRootFile;
    /// Makes a default record, which the container then fills through Deserialize.
    Factory factory;

    /// Whether the kind has this MIME type.
    /// \param mimeType A container's MIME type.
    /// \return Whether it is one of this kind's.
    bool Accepts(const CString& mimeType) const {
        return std::find(mimeTypes.begin(), mimeTypes.end(), mimeType) != mimeTypes.end();
    }
};

}  // namespace VdcContainer
