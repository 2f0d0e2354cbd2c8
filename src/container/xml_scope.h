// Namespace scope of pugixml elements: which URI a prefix is bound to, and which prefix
// to write for a URI. Internal to the container library.
#pragma once

#include <pugixml.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace VdcContainer::XmlNS::Scope {

struct QualifiedName {
    std::string_view prefix;
    std::string_view local;
};
QualifiedName Split(const char* name);
std::string Join(std::string_view prefix, std::string_view local);

// True for an XML name without colon (an NCName, checked loosely on its ASCII part).
bool IsValidLocalName(std::string_view name);
bool IsNamespaceDeclaration(std::string_view attributeName);

// The URI bound to prefix at element; the empty prefix gives the default namespace, or ""
// when there is none. No value for a prefix that is not bound.
std::optional<std::string> LookupUri(pugi::xml_node element, std::string_view prefix);
std::optional<std::string> ElementUri(pugi::xml_node element);

// A prefix already bound to uri at element (the preferred one first), if any. With
// allowDefault false, only non-empty prefixes are considered (as attributes need).
std::optional<std::string> FindPrefix(pugi::xml_node element, const std::string& uri,
                                      const std::string& preferred, bool allowDefault);

}  // namespace VdcContainer::XmlNS::Scope
