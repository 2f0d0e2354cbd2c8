// The metadata file of ovxext pack and init: reading its elements into a record.
#include "metadata_file.h"

#include "command_context.h"
#include "metadata_values.h"

#include "OvxComponent/container/xml_document.h"
#include "platform/system_io/file.h"

#include <set>

namespace Ovxext {

namespace {

using OvxUtils::Error;
using VdcContainer::XmlNS::ElementDef;
using VdcContainer::XmlNS::NamespaceDef;
using VdcContainer::XmlNS::Node;

constexpr std::uint64_t kMaxMetadataFile = 1024 * 1024;

ElementDef Name(const char* localName) { return ElementDef{NamespaceDef{"", ""}, localName}; }

std::string Attribute(const Node& node, const char* name) {
    return node.GetAttribute(Name(name)).value_or(std::string());
}

// Sets one language of text from an element: its lang attribute, or the default text.
void SetLanguageText(const Node& node, MultiLanguageString& text) {
    text.Set(FromUtf8(Attribute(node, "lang")), FromUtf8(node.GetText()));
}

OvxUtils::Result<void> ReadRange(const Node& node, OvxUtils::VersionRange& range) {
    auto min = ParseBound(Attribute(node, "min"));
    if (!min) return min.TakeError();
    auto max = ParseBound(Attribute(node, "max"));
    if (!max) return max.TakeError();
    range = {*min, *max};
    return {};
}

OvxUtils::Result<OvxComponent::ExtensionEntryPoint> ReadEntryPoint(const Node& node) {
    const std::string type = Attribute(node, "type");
    const auto parsed = OvxComponent::ExtensionEntryPointTypeFromString(FromUtf8(type));
    if (!parsed) {
        return Error{FromUtf8("entry-point: unknown type '" + type + "' (expected control, tool, docker, toolbar or menu)")};
    }
    OvxComponent::ExtensionEntryPoint entry;
    entry.Type = *parsed;
    entry.Value = FromUtf8(Attribute(node, "value"));
    if (const auto guid = node.GetAttribute(Name("guid"))) entry.Guid = FromUtf8(*guid);
    for (const Node* child : node.GetAllChildNodes()) {
        const std::string name = child->GetLocalName();
        if (name == "name") {
            SetLanguageText(*child, entry.Name);
        } else if (name == "short-description") {
            SetLanguageText(*child, entry.ShortDescription);
        } else {
            return Error{FromUtf8("entry-point: unknown element '" + name + "'")};
        }
    }
    return entry;
}

// Stores a parsed value in target, or hands on the error.
template <class T>
OvxUtils::Result<void> Assign(OvxUtils::Result<T> parsed, T& target) {
    if (!parsed) return parsed.TakeError();
    target = std::move(*parsed);
    return {};
}

// Appends the values of a parsed list to target, or hands on the error.
template <class T>
OvxUtils::Result<void> Append(OvxUtils::Result<std::vector<T>> parsed, std::vector<T>& target) {
    if (!parsed) return parsed.TakeError();
    target.insert(target.end(), parsed->begin(), parsed->end());
    return {};
}

// One child of the root element. Lists start empty in the file: the first element of a
// list replaces what data held.
OvxUtils::Result<void> ReadField(const Node& node, OvxComponent::ExtensionData& data,
                                 std::set<std::string>& listsStarted) {
    const std::string name = node.GetLocalName();
    const std::string text = node.GetText();
    auto& requirements = data.requirements;
    if (listsStarted.insert(name).second) {
        if (name == "app") requirements.AppList.clear();
        if (name == "platform") requirements.PlatformSupport.clear();
        if (name == "keyword") data.Keywords.clear();
        if (name == "entry-point") data.EntryPoints.clear();
    }
    if (name == "id") return Assign(ParseGuid(text), data.DocumentID);
    if (name == "version") return Assign(ParseVersion(text), data.Version);
    if (name == "app") return Append(ParseApps({text}), requirements.AppList);
    if (name == "platform") return Append(ParsePlatforms({text}), requirements.PlatformSupport);
    if (name == "suite") return ReadRange(node, requirements.AppVersion);
    if (name == "windows") return ReadRange(node, requirements.WinVersion);
    if (name == "entry-point") {
        auto entry = ReadEntryPoint(node);
        if (!entry) return entry.TakeError();
        data.EntryPoints.push_back(std::move(*entry));
    } else if (name == "type") {
        data.ExtensionType = FromUtf8(text);
    } else if (name == "title") {
        SetLanguageText(node, data.Title);
    } else if (name == "description") {
        SetLanguageText(node, data.Description);
    } else if (name == "notes") {
        SetLanguageText(node, data.Notes);
    } else if (name == "creator-tool") {
        data.CreatorTool = FromUtf8(text);
    } else if (name == "keyword") {
        data.Keywords.push_back(MultiLanguageString(FromUtf8(text)));
    } else {
        return Error{FromUtf8("unknown element '" + name + "'")};
    }
    return {};
}

}  // namespace

OvxUtils::Result<void> ReadMetadataFile(const std::string& path, OvxComponent::ExtensionData& data) {
    const auto bytes = OvxUtils::SystemIO::File::ReadAllBytes(FromUtf8(path));
    if (!bytes) return Error{u"cannot be read: " + OvxUtils::SystemErrorText(bytes.SystemCode()), bytes.SystemCode()};
    auto document = VdcContainer::XmlNS::Document::Parse(*bytes, kMaxMetadataFile);
    if (!document) return document.TakeError();
    const Node& root = (*document)->Root();
    if (!root.Is(Name("ovxext-metadata"))) {
        return Error{u"the root element must be 'ovxext-metadata' (without a namespace)"};
    }
    OvxComponent::ExtensionData read = data;
    std::set<std::string> listsStarted;
    for (const Node* child : root.GetAllChildNodes()) {
        if (auto field = ReadField(*child, read, listsStarted); !field) return field;
    }
    data = std::move(read);
    return {};
}

}  // namespace Ovxext
