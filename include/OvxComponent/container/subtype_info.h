// SubtypeInfo: the information that a kind of package (a subtype) keeps in its container:
// the base of the records that ZipContainerSubtypeBase attaches to an open package.
//
// The container calls Serialize when it saves a package, on the thread that saves it, and
// Deserialize once when it opens one, after the subtype class's factory has made the
// record. The container owns the record.
#pragma once

#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/container/xml_node.h"
#include "OvxComponent/container/zip_file_location.h"

#include <memory>

namespace VdcContainer {

class OVX_API SubtypeInfo {
public:
    virtual ~SubtypeInfo();

    // Writes the record into the metadata and the main root file, whose root element the
    // container has created; further root files are made with addRootFile. False stops the
    // save, and nothing is written.
    virtual bool Serialize(Metadata::Container& metadata, XmlNS::Node& root, AddRootFileDelegate addRootFile) = 0;
    // Reads the record back. False means that the package holds no valid information; the
    // container then drops the record.
    virtual bool Deserialize(const Metadata::Container& metadata, const XmlNS::Node& root,
                             ReadRootFileDelegate readRootFile) = 0;
    virtual std::unique_ptr<SubtypeInfo> Clone() const = 0;
    // After a Deserialize that returned false: the rule that refused the record, naming the
    // element, attribute or property it concerns; empty when the kind does not say.
    virtual CString RefusalReason() const { return {}; }

protected:
    SubtypeInfo() = default;
    SubtypeInfo(const SubtypeInfo&) = default;
    SubtypeInfo& operator=(const SubtypeInfo&) = default;
};

}  // namespace VdcContainer
