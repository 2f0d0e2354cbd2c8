// Metadata::Container and its XML form, the metadata entry of a container.
#include "OvxComponent/container/metadata_container.h"

#include "OvxComponent/container/xml_document.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/multi_language_string.h"
#include "container/multi_language_xml.h"
#include "container/zip_container_schema.h"

#include <optional>
#include <set>

namespace VdcContainer::Metadata {

namespace {

using OvxUtils::Guid;
using Property::Kind;

const XmlNS::ElementDef kRoot{ZipContainerSchema::containerNs, "metadata"};
const XmlNS::ElementDef kGuid{ZipContainerSchema::containerNs, "guid"};
const XmlNS::ElementDef kKindAttribute{{}, "kind"};
const XmlNS::ElementDef kVersionAttribute{{}, "version"};

struct KindName {
    Kind kind;
    const char* text;
};
constexpr KindName kKindNames[] = {
    {Kind::String, "string"},
    {Kind::Guid, "guid"},
    {Kind::GuidList, "guid-list"},
    {Kind::MultiLanguageString, "multi-language-string"},
};

std::optional<Kind> KindOf(const OvxUtils::Any& value) {
    if (value.Is<CString>()) return Kind::String;
    if (value.Is<Guid>()) return Kind::Guid;
    if (value.Is<std::vector<Guid>>()) return Kind::GuidList;
    if (value.Is<MultiLanguageString>()) return Kind::MultiLanguageString;
    return std::nullopt;
}

const char* KindText(Kind kind) {
    for (const KindName& entry : kKindNames) {
        if (entry.kind == kind) return entry.text;
    }
    return "";
}

std::optional<Kind> KindFromText(std::string_view text) {
    for (const KindName& entry : kKindNames) {
        if (text == entry.text) return entry.kind;
    }
    return std::nullopt;
}

bool WriteValue(XmlNS::Node& root, const Property::Def& def, const OvxUtils::Any& value) {
    const XmlNS::ElementDef element{def.ns, def.name};
    const Kind kind = *KindOf(value);
    std::string text;
    if (kind == Kind::String) text = value.Get<CString>()->ToUtf8();
    if (kind == Kind::Guid) text = value.Get<Guid>()->ToString().ToUtf8();
    XmlNS::Node* node = root.AddChildNode(element, text);
    if (!node || !node->SetAttribute(kKindAttribute, KindText(kind))) return false;
    if (kind == Kind::GuidList) {
        for (const Guid& guid : *value.Get<std::vector<Guid>>()) {
            if (!node->AddChildNode(kGuid, guid.ToString().ToUtf8())) return false;
        }
    }
    if (kind == Kind::MultiLanguageString) return WriteMultiLanguage(*node, *value.Get<MultiLanguageString>());
    return true;
}

Result<OvxUtils::Any> ReadValue(const XmlNS::Node& node, Kind kind) {
    const CString where = u"property " + Quoted(node.GetLocalName());
    switch (kind) {
    case Kind::String:
        return OvxUtils::Any(CString::FromUtf8(node.GetText()));
    case Kind::Guid:
        if (auto guid = Guid::FromString(CString::FromUtf8(node.GetText()))) return OvxUtils::Any(*guid);
        return Error{where + u" does not hold a GUID"};
    case Kind::GuidList: {
        std::vector<Guid> guids;
        for (const XmlNS::Node* item : node.GetChildNodes(kGuid)) {
            auto guid = Guid::FromString(CString::FromUtf8(item->GetText()));
            if (!guid) return Error{where + u" holds an item that is not a GUID"};
            guids.push_back(*guid);
        }
        return OvxUtils::Any(std::move(guids));
    }
    case Kind::MultiLanguageString:
        return OvxUtils::Any(ReadMultiLanguage(node));
    }
    return Error{where + u" has an unknown kind"};
}

}  // namespace

void Container::SetStringMetadata(const Property::Def& def, const CString& value) {
    m_properties[def] = OvxUtils::Any(value);
}

OvxUtils::optional<CString> Container::GetStringMetadata(const Property::Def& def) const {
    const auto found = m_properties.find(def);
    if (found == m_properties.end() || !found->second.Is<CString>()) return std::nullopt;
    return *found->second.Get<CString>();
}

bool Container::SetMetadata(const Property::Def& def, OvxUtils::Any value) {
    if (!KindOf(value)) return false;
    m_properties[def] = std::move(value);
    return true;
}

const OvxUtils::Any& Container::GetMetadata(const Property::Def& def) const {
    static const OvxUtils::Any missing;
    const auto found = m_properties.find(def);
    return found == m_properties.end() ? missing : found->second;
}

bool Container::HasMetadata(const Property::Def& def) const { return m_properties.count(def) != 0; }

void Container::RemoveMetadata(const Property::Def& def) { m_properties.erase(def); }

std::string Container::ToXml() const {
    auto document = XmlNS::Document::Create(kRoot);
    XmlNS::Node& root = document->Root();
    root.SetAttribute(kVersionAttribute, "1.0");
    // One prefix per namespace, declared on the root: the key's own prefix when it is free
    // (keys read from a file carry none), otherwise a numbered one.
    std::map<std::string, std::string> prefixes;  // URI -> prefix
    std::set<std::string> used;
    for (const auto& [def, value] : m_properties) {
        if (def.ns.uri.empty() || prefixes.count(def.ns.uri)) continue;
        std::string prefix = def.ns.prefix;
        for (int n = 1; prefix.empty() || used.count(prefix); ++n) prefix = "ns" + std::to_string(n);
        used.insert(prefix);
        prefixes[def.ns.uri] = prefix;
        root.DeclareNamespace({prefix, def.ns.uri});
    }
    for (const auto& [def, value] : m_properties) WriteValue(root, def, value);
    return document->ToBytes();
}

Result<Container> Container::FromXml(std::string_view bytes, std::uint64_t maxSize) {
    auto document = XmlNS::Document::Parse(bytes, maxSize);
    if (!document) return document.TakeError();
    const XmlNS::Node& root = (*document)->Root();
    if (!root.Is(kRoot)) return Error{u"has another root element than metadata"};
    const std::string version = root.GetAttribute(kVersionAttribute).value_or("1.0");
    if (!version.starts_with("1.")) return Error{u"has version " + Quoted(version) + u", which is not supported"};
    Container container;
    for (const XmlNS::Node* node : root.GetAllChildNodes()) {
        const auto kind = KindFromText(node->GetAttribute(kKindAttribute).value_or(std::string()));
        if (!kind) continue;
        auto value = ReadValue(*node, *kind);
        if (!value) return value.TakeError();
        const Property::Def def{node->GetNamespace(), node->GetLocalName()};
        if (!container.m_properties.emplace(def, std::move(*value)).second) {
            return Error{u"holds property " + Quoted(def.name) + u" twice"};
        }
    }
    return container;
}

}  // namespace VdcContainer::Metadata
