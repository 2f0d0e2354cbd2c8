/// \file
/// SubtypeInfo: the information that a kind of package (a subtype) keeps in its container:
/// the base of the records that ZipContainerSubtypeBase attaches to an open package.
///
/// The container calls Serialize when it saves a package, on the thread that saves it, and
/// Deserialize once when it opens one, after the subtype class's factory has made the
/// record. The container owns the record.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/container/xml_node.h"
#include "OvxComponent/container/zip_file_location.h"

#include <memory>

namespace VdcContainer {

/// The record of a container of one kind, written to and read from the container.
class OVX_API SubtypeInfo {
public:
    virtual ~SubtypeInfo();

    /// Writes the record into the metadata and the main root file, whose root element the
    /// container has created; further root files are made with addRootFile. False stops the
    /// save, and nothing is written.
    /// \param metadata The container metadata to write into.
    /// \param root The main root file's root element.
    /// \param addRootFile Adds another root file to the container.
    /// \return Whether the record was written.
    virtual bool Serialize(Metadata::Container& metadata, XmlNS::Node& root, AddRootFileDelegate addRootFile) = 0;
    /// Reads the record back. False means that the package holds no valid information; the
    /// container then drops the record.
    /// \param metadata The container metadata.
    /// \param root The main root file's root element.
    /// \param readRootFile Reads another root file of the container.
    /// \return Whether the record was read; RefusalReason says why not.
    virtual bool Deserialize(const Metadata::Container& metadata, const XmlNS::Node& root,
                             ReadRootFileDelegate readRootFile) = 0;
    /// A copy of the record.
    /// \return The copy.
    virtual std::unique_ptr<SubtypeInfo> Clone() const = 0;
    /// After a Deserialize that returned false: the rule that refused the record, naming the
    /// element, attribute or property it concerns; empty when the kind does not say.
    /// \return Why the last Deserialize refused the record; empty otherwise.
    virtual CString RefusalReason() const { return {}; }

protected:
    SubtypeInfo() = default;
    /// Records are copied by their kinds' Clone.
    SubtypeInfo(const SubtypeInfo&) = default;
    /// Records are copied by their kinds' Clone.
    /// \return This record.
    SubtypeInfo& operator=(const SubtypeInfo&) = default;
};

}  // namespace VdcContainer
