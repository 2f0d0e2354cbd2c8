// ExtensionContainerInfo: WriteRequirements and ReadRequirements, the mapping of the
// requirements to requirements.xml.
#include "extensions/format/extension_container_info.h"

#include "extensions/format/extension_container_schema.h"
#include "extensions/format/extension_requirement_type.h"
#include "platform/data_encoding.h"

#include <string>

namespace OvxComponent {
namespace {

namespace Xml = ExtensionContainerSchema::xml;
using VdcContainer::XmlNS::ElementDef;
using VdcContainer::XmlNS::Node;

std::string Utf8(const CString& text) { return OvxUtils::DataEncoding::Utf8Encode(text); }

CString AttributeText(const Node& node, const ElementDef& def) {
    return OvxUtils::DataEncoding::Utf8Decode(node.GetAttribute(def).value_or(std::string()));
}

// Adds one require_must element with its require_type and the given attributes in order.
bool AddRequirement(Node& root, ExtensionRequirementType type,
                    std::initializer_list<std::pair<const ElementDef*, CString>> attributes) {
    Node* node = root.AddChildNode(Xml::must);
    if (!node) return false;
    node->SetAttribute(Xml::requirement_type, Utf8(ToString(type)));
    for (const auto& [def, value] : attributes) node->SetAttribute(*def, Utf8(value));
    return true;
}

}  // namespace

bool ExtensionContainerInfo::WriteRequirements(Node& root) const {
    using Type = ExtensionRequirementType;
    const bool written =
        AddRequirement(root, Type::OrvexApplication, {{&Xml::required_list, GetApplistAsString()}}) &&
        AddRequirement(root, Type::OrvexSuiteVersion,
                       {{&Xml::require_min_version, GetAppMinVersionAsString()},
                        {&Xml::require_max_version, GetAppMaxVersionAsString()}}) &&
        AddRequirement(root, Type::PlatformBits, {{&Xml::required_list, GetPlatformSupportAsString()}}) &&
        AddRequirement(root, Type::WindowsVersion,
                       {{&Xml::require_min_version, GetWinMinVersionAsString()},
                        {&Xml::require_max_version, GetWinMaxVersionAsString()}});
    if (!written) return false;
    for (const CString& group : GetFeatureRequirementsAsStrings()) {
        if (!AddRequirement(root, Type::Feature, {{&Xml::required_list, group}})) return false;
    }
    return true;
}

bool ExtensionContainerInfo::ReadRequirements(const Node& root) {
    const std::vector<const Node*> requirements = root.GetChildNodes(Xml::must);
    if (requirements.size() != root.GetChildNodeCount()) return false;
    ClearAllFeatureRequirements();
    for (const Node* requirement : requirements) {
        const std::optional<ExtensionRequirementType> type =
            ExtensionRequirementTypeFromString(AttributeText(*requirement, Xml::requirement_type));
        if (!type) return false;
        const CString list = AttributeText(*requirement, Xml::required_list);
        const CString min = AttributeText(*requirement, Xml::require_min_version);
        const CString max = AttributeText(*requirement, Xml::require_max_version);
        switch (*type) {
            case ExtensionRequirementType::PlatformBits:
                if (list.IsEmpty()) return false;
                SetPlatformSupport(list);
                break;
            case ExtensionRequirementType::OrvexApplication:
                if (list.IsEmpty()) return false;
                SetApplist(list);
                break;
            case ExtensionRequirementType::WindowsVersion:
                if (min.IsEmpty() || max.IsEmpty()) return false;
                SetWinMinMaxVersion(min, max);
                break;
            case ExtensionRequirementType::OrvexSuiteVersion:
                if (min.IsEmpty() || max.IsEmpty()) return false;
                SetAppMinMaxVersion(min, max);
                break;
            case ExtensionRequirementType::Feature:
                if (!list.IsEmpty()) AddFeatureRequirementFromString(list);
                return false;
        }
    }
    return true;
}

}  // namespace OvxComponent
