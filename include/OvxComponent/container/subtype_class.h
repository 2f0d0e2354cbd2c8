// SubtypeClass: how the container recognises one kind of package and makes its
// SubtypeInfo. A plain value, copied freely.
#pragma once

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

struct SubtypeClass {
    using Factory = std::function<std::unique_ptr<SubtypeInfo>(const Metadata::Container&, const XmlNS::Node&,
                                                                ReadRootFileDelegate)>;

    // The container MIME types of this kind of package; a new package gets the first.
    std::vector<CString> mimeTypes;
    RootFileInfo mainRootFile;
    // Makes a default record, which the container then fills through Deserialize.
    Factory factory;

    bool Accepts(const CString& mimeType) const {
        return std::find(mimeTypes.begin(), mimeTypes.end(), mimeType) != mimeTypes.end();
    }
};

}  // namespace VdcContainer
