// ZipContainerSchema: the names of the container's own entries, its XML namespaces, and
// the keys of its standard metadata properties. docs/package-format.md describes them.
#pragma once

#include "OvxComponent/container/metadata_property.h"
#include "OvxComponent/container/xml_names.h"

namespace VdcContainer::ZipContainerSchema {

inline constexpr char kMimeTypeEntry[] = "mimetype";
inline constexpr char kManifestEntry[] = "META-INF/manifest.xml";
inline constexpr char kMetadataEntry[] = "META-INF/metadata.xml";

// The manifest and the metadata entry's own elements.
inline const XmlNS::NamespaceDef containerNs{"", "urn:orvex:namespaces:zcf:xmlns:container"};
// The standard metadata properties.
inline const XmlNS::NamespaceDef metadataNs{"meta", "urn:orvex:namespaces:zcf:xmlns:metadata"};

namespace Metadata {
inline const VdcContainer::Metadata::Property::Def Title{metadataNs, "title"};
inline const VdcContainer::Metadata::Property::Def Description{metadataNs, "description"};
inline const VdcContainer::Metadata::Property::Def SubFormat{metadataNs, "subformat"};
inline const VdcContainer::Metadata::Property::Def Version{metadataNs, "version"};
inline const VdcContainer::Metadata::Property::Def DocumentID{metadataNs, "document-id"};
inline const VdcContainer::Metadata::Property::Def InstanceID{metadataNs, "instance-id"};
inline const VdcContainer::Metadata::Property::Def DerivedFrom{metadataNs, "derived-from"};
inline const VdcContainer::Metadata::Property::Def Keywords{metadataNs, "keywords"};
inline const VdcContainer::Metadata::Property::Def Notes{metadataNs, "notes"};
inline const VdcContainer::Metadata::Property::Def CreatorTool{metadataNs, "creator-tool"};
inline const VdcContainer::Metadata::Property::Def ContentVersion{metadataNs, "content-version"};
}  // namespace Metadata

}  // namespace VdcContainer::ZipContainerSchema
