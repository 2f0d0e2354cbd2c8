/// \file
/// ExtensionContainerSchema: the names that make up an extension package: its file
/// extension, MIME types, root files and root-file kinds, and the XML names of
/// extension.xml and requirements.xml. XmpMeta::extension names the namespace of the
/// extension's own metadata properties.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/xml_names.h"

namespace OvxComponent {

namespace ExtensionContainerSchema {

///@{
/// The package's names: its file extension, its metadata and requirement files and
/// the MIME types the container knows them by.
inline constexpr char16_t fileExtension[] = u"OrvexExtension";
inline constexpr char16_t configFile[] = u"extension.xml";
inline constexpr char16_t mimeType[] = u"application/x-vnd.orvex.zcf.qpsaddon+zip";
inline constexpr char16_t mainRootFileMimeType[] = u"application/x-vnd.orvex.zcf.qpsaddon+xml";
inline constexpr char16_t requirementFile[] = u"requirements.xml";
inline constexpr char16_t requirementMimeType[] = u"application/x-vnd.orvex.zcf.requirements+xml";
///@}

/// The kinds of the further root files that a package may carry.
namespace RootFileKind {
///@{
/// The kinds of root files an extension package may hold.
inline constexpr char16_t requirments[] = u"requirements";  // spelled so in the published format
inline constexpr char16_t source[] = u"source";
inline constexpr char16_t long_description[] = u"long_description";
inline constexpr char16_t gallery[] = u"gallery";
///@}
}  // namespace RootFileKind

namespace xml {
using VdcContainer::XmlNS::ElementDef;
using VdcContainer::XmlNS::NamespaceDef;

/// The XML namespace of extension.xml and requirements.xml.
inline const NamespaceDef xmlns{"", "urn:orvex:namespaces:zcf:xmlns:extension"};

/// extension.xml: the root element and its attributes.
inline const ElementDef extension_root_node{xmlns, "extension"};
///@{
/// Elements of extension.xml.
inline const ElementDef zcf_version{xmlns, "zcf_version"};
inline const ElementDef extension_guid{xmlns, "guid"};
inline const ElementDef type{xmlns, "type"};
inline const ElementDef extension_version{xmlns, "extension_version"};
///@}

/// requirements.xml.
inline const ElementDef requirements{xmlns, "requirements"};
///@{
/// Elements of requirements.xml.
inline const ElementDef must{xmlns, "require_must"};
inline const ElementDef requirement_type{xmlns, "require_type"};
inline const ElementDef required_list{xmlns, "requires_any_of"};
inline const ElementDef require_min_version{xmlns, "requires_at_or_after"};
inline const ElementDef require_max_version{xmlns, "requires_before"};
///@}

/// extension.xml: the entry points.
inline const ElementDef entry_points{xmlns, "entry_points"};
///@{
/// Elements of an entry point.
inline const ElementDef entry_point{xmlns, "entry_point"};
inline const ElementDef entry_point_type{xmlns, "entry_point_type"};
inline const ElementDef entry_point_name{xmlns, "entry_point_name"};
inline const ElementDef entry_point_value{xmlns, "entry_point_value"};
inline const ElementDef entry_point_short_description{xmlns, "entry_point_short_description"};
inline const ElementDef entry_point_guid{xmlns, "entry_point_guid"};
///@}
}  // namespace xml

}  // namespace ExtensionContainerSchema

namespace XmpMeta::extension {
/// The namespace of the extension's container metadata properties.
inline const VdcContainer::XmlNS::NamespaceDef xmlns{"extension", "http://ns.orvex.invalid/extension/metadata/1.0/"};
}  // namespace XmpMeta::extension

}  // namespace OvxComponent
