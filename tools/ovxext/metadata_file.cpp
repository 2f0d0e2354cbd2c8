#include "metadata_file.h"

#include "command_context.h"
#include "metadata_values.h"

#include "container/xml_document.h"
#include "platform/system_io/file.h"

#include <set>

namespace Ovxext {

namespace {

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

bool ReadRange(const Node& node, OvxUtils::VersionRange& range, std::string& error) {
    return ParseBound(Attribute(node, "min"), range.min, error) && ParseBound(Attribute(node, "max"), range.max, error);
}

bool ReadEntryPoint(const Node& node, OvxComponent::ExtensionEntryPoint& entry, std::string& error) {
    const std::string type = Attribute(node, "type");
    const auto parsed = OvxComponent::ExtensionEntryPointTypeFromString(FromUtf8(type));
    if (!parsed) {
        error = "entry-point: unknown type '" + type + "' (expected control, tool, docker, toolbar or menu)";
        return false;
    }
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
            error = "entry-point: unknown element '" + name + "'";
            return false;
        }
    }
    return true;
}

// One child of the root element. Lists start empty in the file: the first element of a
// list replaces what data held.
bool ReadField(const Node& node, OvxComponent::ExtensionData& data, std::set<std::string>& listsStarted,
               std::string& error) {
    const std::string name = node.GetLocalName();
    const std::string text = node.GetText();
    auto& requirements = data.requirements;
    if (listsStarted.insert(name).second) {
        if (name == "app") requirements.AppList.clear();
        if (name == "platform") requirements.PlatformSupport.clear();
        if (name == "keyword") data.Keywords.clear();
        if (name == "entry-point") data.EntryPoints.clear();
    }
    if (name == "id") return ParseGuid(text, data.DocumentID, error);
    if (name == "version") return ParseVersion(text, data.Version, error);
    if (name == "type") {
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
        data.Keywords.emplace_back(FromUtf8(text));
    } else if (name == "app") {
        OvxComponent::ExtensionAppSupport app{};
        if (!ParseApp(text, app, error)) return false;
        requirements.AppList.push_back(app);
    } else if (name == "platform") {
        OvxUtils::runtime_bits platform{};
        if (!ParsePlatform(text, platform, error)) return false;
        requirements.PlatformSupport.push_back(platform);
    } else if (name == "suite") {
        return ReadRange(node, requirements.AppVersion, error);
    } else if (name == "windows") {
        return ReadRange(node, requirements.WinVersion, error);
    } else if (name == "entry-point") {
        OvxComponent::ExtensionEntryPoint entry;
        if (!ReadEntryPoint(node, entry, error)) return false;
        data.EntryPoints.push_back(std::move(entry));
    } else {
        error = "unknown element '" + name + "'";
        return false;
    }
    return true;
}

}  // namespace

bool ReadMetadataFile(const std::string& path, OvxComponent::ExtensionData& data, std::string& error) {
    const auto bytes = OvxUtils::SystemIO::File::ReadAllBytes(FromUtf8(path));
    if (!bytes) {
        error = "cannot be read";
        return false;
    }
    auto document = VdcContainer::XmlNS::Document::Parse(*bytes, kMaxMetadataFile);
    if (!document) {
        error = Utf8(document.ErrorText());
        return false;
    }
    const Node& root = (*document)->Root();
    if (!root.Is(Name("ovxext-metadata"))) {
        error = "the root element must be 'ovxext-metadata' (without a namespace)";
        return false;
    }
    OvxComponent::ExtensionData read = data;
    std::set<std::string> listsStarted;
    for (const Node* child : root.GetAllChildNodes()) {
        if (!ReadField(*child, read, listsStarted, error)) return false;
    }
    data = std::move(read);
    return true;
}

}  // namespace Ovxext
