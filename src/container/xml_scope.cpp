// Namespace scope of pugixml elements.
#include "container/xml_scope.h"

#include <cstring>

namespace VdcContainer::XmlNS::Scope {

namespace {

constexpr std::string_view kXmlPrefix = "xml";
constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

bool IsNameStart(unsigned char c) {
    return c >= 0x80 || c == '_' || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}
bool IsNameChar(unsigned char c) { return IsNameStart(c) || c == '-' || c == '.' || (c >= '0' && c <= '9'); }

std::string DeclarationName(std::string_view prefix) {
    return prefix.empty() ? std::string("xmlns") : "xmlns:" + std::string(prefix);
}

}  // namespace

QualifiedName Split(const char* name) {
    const std::string_view text(name);
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return {{}, text};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

std::string Join(std::string_view prefix, std::string_view local) {
    return prefix.empty() ? std::string(local) : std::string(prefix) + ":" + std::string(local);
}

bool IsValidLocalName(std::string_view name) {
    if (name.empty() || !IsNameStart(static_cast<unsigned char>(name.front()))) return false;
    for (const char c : name) {
        if (!IsNameChar(static_cast<unsigned char>(c))) return false;
    }
    return true;
}

bool IsNamespaceDeclaration(std::string_view attributeName) {
    return attributeName == "xmlns" || attributeName.starts_with("xmlns:");
}

std::optional<std::string> LookupUri(pugi::xml_node element, std::string_view prefix) {
    if (prefix == kXmlPrefix) return std::string(kXmlNamespace);
    const std::string declaration = DeclarationName(prefix);
    for (pugi::xml_node node = element; node && node.type() == pugi::node_element; node = node.parent()) {
        if (const pugi::xml_attribute attribute = node.attribute(declaration.c_str())) return std::string(attribute.value());
    }
    if (prefix.empty()) return std::string();
    return std::nullopt;
}

std::optional<std::string> ElementUri(pugi::xml_node element) {
    return LookupUri(element, Split(element.name()).prefix);
}

std::optional<std::string> FindPrefix(pugi::xml_node element, const std::string& uri,
                                      const std::string& preferred, bool allowDefault) {
    if ((allowDefault || !preferred.empty()) && LookupUri(element, preferred) == uri) return preferred;
    for (pugi::xml_node node = element; node && node.type() == pugi::node_element; node = node.parent()) {
        for (const pugi::xml_attribute attribute : node.attributes()) {
            const std::string_view name = attribute.name();
            if (!IsNamespaceDeclaration(name) || uri != attribute.value()) continue;
            const std::string prefix(name == "xmlns" ? std::string_view() : name.substr(6));
            if (prefix.empty() && !allowDefault) continue;
            // A nearer declaration may have rebound the prefix.
            if (LookupUri(element, prefix) == uri) return prefix;
        }
    }
    return std::nullopt;
}

}  // namespace VdcContainer::XmlNS::Scope
