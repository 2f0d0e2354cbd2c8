/// \file
/// XmlNS::NamespaceDef and XmlNS::ElementDef: the names that XML lookups are made with.
///
/// A name matches by namespace URI and local name; the prefix is only the one this code
/// writes when it has to declare the namespace itself. Reading never looks at prefixes, so
/// a document that binds the same URI to another prefix, or makes it the default
/// namespace, matches just the same.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <string>
#include <tuple>

namespace VdcContainer::XmlNS {

/// An XML namespace: its prefix and URI.
struct NamespaceDef {
    std::string prefix;  ///< empty: written as the default namespace
    std::string uri;     ///< empty: no namespace
};

/// An element or attribute name.
///
/// Attributes: an attribute written without prefix belongs to no namespace in XML, but
/// formats write the attributes of their own elements that way. So an unprefixed attribute
/// of an element in namespace N matches an ElementDef in N as well as one without
/// namespace; a prefixed attribute matches by the URI its prefix is bound to. SetAttribute
/// writes an attribute without prefix when its ElementDef is in the element's own namespace
/// or in none.
struct ElementDef {
    /// The element's namespace.
    NamespaceDef ns;
    /// The element's local name.
    std::string localName;
};

/// Namespaces are equal when their URIs are.
/// \param a The first namespace.
/// \param b The second namespace.
/// \return Whether they are the same namespace.
inline bool operator==(const NamespaceDef& a, const NamespaceDef& b) { return a.uri == b.uri; }
/// Elements are equal when their namespace URIs and local names are.
/// \param a The first element.
/// \param b The second element.
/// \return Whether they are the same element.
inline bool operator==(const ElementDef& a, const ElementDef& b) {
    return a.ns.uri == b.ns.uri && a.localName == b.localName;
}
/// Orders elements by namespace URI, then local name.
/// \param a The first element.
/// \param b The second element.
/// \return Whether a comes first.
inline bool operator<(const ElementDef& a, const ElementDef& b) {
    return std::tie(a.ns.uri, a.localName) < std::tie(b.ns.uri, b.localName);
}

}  // namespace VdcContainer::XmlNS
