// ExtensionContainerInfo: Serialize and Deserialize, the mapping of the record to the
// container metadata and extension.xml.
#include "OvxComponent/extensions/format/extension_container_info.h"

#include "OvxComponent/extensions/format/extension_container_schema.h"
#include "container/zip_container_schema.h"
#include "platform/data_encoding.h"

#include <string>

namespace OvxComponent {
namespace {

namespace Keys = VdcContainer::ZipContainerSchema::Metadata;
namespace Xml = ExtensionContainerSchema::xml;
using VdcContainer::XmlNS::ElementDef;
using VdcContainer::XmlNS::Node;

constexpr char16_t kPackageFormatVersion[] = u"1.0";
constexpr char kZcfVersion[] = "1.0";

std::string Utf8(const CString& text) { return OvxUtils::DataEncoding::Utf8Encode(text); }

// The attribute's text; empty when it is absent.
CString AttributeText(const Node& node, const ElementDef& def) {
    return OvxUtils::DataEncoding::Utf8Decode(node.GetAttribute(def).value_or(std::string()));
}

VdcContainer::ZipFileLocation RequirementsLocation() {
    return VdcContainer::ZipFileLocation{ExtensionContainerSchema::requirementFile,
                                         ExtensionContainerSchema::requirementMimeType,
                                         ExtensionContainerSchema::RootFileKind::requirments, MultiLanguageString(),
                                         -1, -1};
}

// A property of kind GUID; all-zero when it is missing or of another kind.
OvxUtils::Guid GuidProperty(const VdcContainer::Metadata::Container& metadata,
                            const VdcContainer::Metadata::Property::Def& def) {
    const OvxUtils::Guid* value = metadata.GetMetadata(def).Get<OvxUtils::Guid>();
    return value ? *value : OvxUtils::Guid();
}

template <class T>
T PropertyOrDefault(const VdcContainer::Metadata::Container& metadata, const VdcContainer::Metadata::Property::Def& def) {
    const T* value = metadata.GetMetadata(def).Get<T>();
    return value ? *value : T();
}

void WriteEntryPoint(Node& entryPoints, const ExtensionEntryPoint& entryPoint) {
    Node* node = entryPoints.AddChildNode(Xml::entry_point);
    if (!node) return;
    node->SetAttribute(Xml::entry_point_type, Utf8(ToString(entryPoint.Type)));
    node->SetAttribute(Xml::entry_point_name, Utf8(entryPoint.Name.ToString()));
    node->SetAttribute(Xml::entry_point_value, Utf8(entryPoint.Value));
    node->SetAttribute(Xml::entry_point_short_description, Utf8(entryPoint.ShortDescription.ToString()));
    if (entryPoint.Guid) node->SetAttribute(Xml::entry_point_guid, Utf8(*entryPoint.Guid));
}

std::vector<ExtensionEntryPoint> ReadEntryPoints(const Node& root) {
    std::vector<ExtensionEntryPoint> entryPoints;
    const Node* list = root.FindNode(Xml::entry_points, false);
    if (!list) return entryPoints;
    for (const Node* node : list->GetChildNodes(Xml::entry_point)) {
        const std::optional<ExtensionEntryPointType> type =
            ExtensionEntryPointTypeFromString(AttributeText(*node, Xml::entry_point_type));
        if (!type) continue;
        ExtensionEntryPoint entryPoint;
        entryPoint.Type = *type;
        entryPoint.Value = AttributeText(*node, Xml::entry_point_value);
        if (CString guid = AttributeText(*node, Xml::entry_point_guid); !guid.IsEmpty()) entryPoint.Guid = guid;
        entryPoint.Name = MultiLanguageString::FromString(AttributeText(*node, Xml::entry_point_name));
        entryPoint.ShortDescription =
            MultiLanguageString::FromString(AttributeText(*node, Xml::entry_point_short_description));
        entryPoints.push_back(std::move(entryPoint));
    }
    return entryPoints;
}

}  // namespace

bool ExtensionContainerInfo::Serialize(VdcContainer::Metadata::Container& metadata, Node& root,
                                       VdcContainer::AddRootFileDelegate addRootFile) {
    root.SetAttribute(Xml::zcf_version, kZcfVersion);
    root.SetAttribute(Xml::extension_guid, Utf8(m_data.DocumentID.ToString()));
    root.SetAttribute(Xml::type, Utf8(m_data.ExtensionType));
    root.SetAttribute(Xml::extension_version, Utf8(GetVersionAsString()));

    if (!addRootFile) return false;
    const bool written = addRootFile(RequirementsLocation(), Xml::requirements,
                                     [this](Node& requirements) { return WriteRequirements(requirements); });
    if (!written) return false;

    if (Node* entryPoints = root.AddChildNode(Xml::entry_points)) {
        for (const ExtensionEntryPoint& entryPoint : m_data.EntryPoints) WriteEntryPoint(*entryPoints, entryPoint);
    }

    metadata.SetStringMetadata(Keys::Title, m_data.Title.ToString());
    metadata.SetStringMetadata(Keys::Description, m_data.Description.ToString());
    metadata.SetStringMetadata(Keys::SubFormat, m_data.ExtensionType);
    metadata.SetStringMetadata(Keys::Version, kPackageFormatVersion);
    metadata.SetMetadata(Keys::DocumentID, OvxUtils::Any(m_data.DocumentID));
    if (m_instanceID.IsNull()) m_instanceID = OvxUtils::Guid::Generate();
    metadata.SetMetadata(Keys::InstanceID, OvxUtils::Any(m_instanceID));
    metadata.SetMetadata(Keys::DerivedFrom, OvxUtils::Any(m_derivedFrom));
    metadata.SetMetadata(Keys::Keywords, OvxUtils::Any(GetKeywords()));
    metadata.SetMetadata(Keys::Notes, OvxUtils::Any(m_data.Notes));
    metadata.SetStringMetadata(Keys::CreatorTool, m_data.CreatorTool);
    metadata.SetStringMetadata(Keys::ContentVersion, GetVersionAsString());
    return true;
}

bool ExtensionContainerInfo::Refuse(CString reason) {
    m_refusal = std::move(reason);
    return false;
}

bool ExtensionContainerInfo::Deserialize(const VdcContainer::Metadata::Container& metadata, const Node& root,
                                         VdcContainer::ReadRootFileDelegate readRootFile) {
    m_refusal.Empty();
    const auto quoted = [](const CString& text) { return u"\"" + text + u"\""; };
    if (root.GetAttribute(Xml::zcf_version) != OvxUtils::optional<std::string>(kZcfVersion)) {
        return Refuse(u"extension.xml: zcf_version is " + quoted(AttributeText(root, Xml::zcf_version)) +
                      u", only \"1.0\" is read");
    }
    const CString guidText = AttributeText(root, Xml::extension_guid);
    const std::optional<OvxUtils::Guid> documentId = OvxUtils::Guid::FromString(guidText);
    if (!documentId) return Refuse(u"extension.xml: guid " + quoted(guidText) + u" is not a GUID");
    m_data.DocumentID = *documentId;
    m_data.ExtensionType = AttributeText(root, Xml::type);

    if (!readRootFile) return Refuse(u"requirements.xml cannot be read");
    const bool read = readRootFile(RequirementsLocation(), Xml::requirements,
                                   [this](const Node& requirements) { return ReadRequirements(requirements); });
    if (!read) return Refuse(m_refusal.IsEmpty() ? CString(u"requirements.xml: missing, or not XML with a requirements root")
                                                 : m_refusal);

    m_data.Version = OvxUtils::Version::Parse(AttributeText(root, Xml::extension_version));
    const OvxUtils::VersionRange& suite = m_data.requirements.AppVersion;
    if (suite.min && suite.max && *suite.min == *suite.max) {
        return Refuse(u"requirements.xml: the suite version range from " + suite.min->ToString() + u" to " +
                      suite.max->ToString() + u" is empty (its maximum is exclusive)");
    }

    m_data.EntryPoints = ReadEntryPoints(root);

    m_data.Title = MultiLanguageString::FromString(metadata.GetStringMetadata(Keys::Title).value_or(CString()));
    m_data.Description =
        MultiLanguageString::FromString(metadata.GetStringMetadata(Keys::Description).value_or(CString()));
    const CString subFormat = metadata.GetStringMetadata(Keys::SubFormat).value_or(CString());
    if (subFormat != m_data.ExtensionType) {
        return Refuse(u"metadata: SubFormat " + quoted(subFormat) + u" differs from the type " +
                      quoted(m_data.ExtensionType) + u" of extension.xml");
    }
    const CString formatVersion = metadata.GetStringMetadata(Keys::Version).value_or(CString());
    if (formatVersion != CString(kPackageFormatVersion)) {
        return Refuse(u"metadata: Version is " + quoted(formatVersion) + u", only \"1.0\" is read");
    }

    m_data.DocumentID = GuidProperty(metadata, Keys::DocumentID);
    if (m_data.DocumentID.IsNull()) return Refuse(u"metadata: DocumentID is missing, not a GUID, or all zero");
    m_instanceID = GuidProperty(metadata, Keys::InstanceID);
    if (m_instanceID.IsNull()) return Refuse(u"metadata: InstanceID is missing, not a GUID, or all zero");
    m_derivedFrom = PropertyOrDefault<std::vector<OvxUtils::Guid>>(metadata, Keys::DerivedFrom);
    SetKeywords(PropertyOrDefault<MultiLanguageString>(metadata, Keys::Keywords));
    m_data.Notes = PropertyOrDefault<MultiLanguageString>(metadata, Keys::Notes);

    m_data.CreatorTool = metadata.GetStringMetadata(Keys::CreatorTool).value_or(CString());
    const CString contentVersion = metadata.GetStringMetadata(Keys::ContentVersion).value_or(CString());
    if (contentVersion != GetVersionAsString()) {
        return Refuse(u"metadata: ContentVersion " + quoted(contentVersion) + u" differs from extension_version " +
                      quoted(GetVersionAsString()));
    }
    return true;
}

}  // namespace OvxComponent
