// ExtensionContainerInfo: WriteRequirements and ReadRequirements, the mapping of the
// requirements to requirements.xml.
#include "OvxComponent/extensions/format/extension_container_info.h"

#include "OvxComponent/extensions/format/extension_container_schema.h"
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
    if (requirements.size() != root.GetChildNodeCount()) {
        return Refuse(u"requirements.xml: an element other than require_must is not allowed under requirements");
    }
    ClearAllFeatureRequirements();
    for (const Node* requirement : requirements) {
        const CString typeText = AttributeText(*requirement, Xml::requirement_type);
        const std::optional<ExtensionRequirementType> type = ExtensionRequirementTypeFromString(typeText);
        if (!type) return Refuse(u"requirements.xml: require_type \"" + typeText + u"\" is not known");
        const CString list = AttributeText(*requirement, Xml::required_list);
        const CString min = AttributeText(*requirement, Xml::require_min_version);
        const CString max = AttributeText(*requirement, Xml::require_max_version);
        const CString where = u"requirements.xml: the " + typeText + u" requirement";
        switch (*type) {
            case ExtensionRequirementType::PlatformBits:
                if (list.IsEmpty()) return Refuse(where + u" has an empty requires_any_of");
                SetPlatformSupport(list);
                break;
            case ExtensionRequirementType::OrvexApplication:
                if (list.IsEmpty()) return Refuse(where + u" has an empty requires_any_of");
                SetApplist(list);
                break;
            case ExtensionRequirementType::WindowsVersion:
                if (min.IsEmpty() || max.IsEmpty()) return Refuse(where + u" needs both bounds (\"*\" for none)");
                SetWinMinMaxVersion(min, max);
                break;
            case ExtensionRequirementType::OrvexSuiteVersion:
                if (min.IsEmpty() || max.IsEmpty()) return Refuse(where + u" needs both bounds (\"*\" for none)");
                SetAppMinMaxVersion(min, max);
                break;
            case ExtensionRequirementType::Feature:
                if (!list.IsEmpty()) AddFeatureRequirementFromString(list);
                return Refuse(where + u" \"" + list + u"\": packages that state feature requirements cannot be read "
                                                       u"in this version of the format");
        }
    }
    return true;
}

}  // namespace OvxComponent
