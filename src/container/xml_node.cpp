// XmlNS::Node over a pugixml element.
#include "OvxComponent/container/xml_node.h"

#include "OvxComponent/container/xml_document.h"
#include "container/xml_scope.h"

#include <pugixml.hpp>

#include <string_view>

namespace VdcContainer::XmlNS {

namespace {

bool Matches(pugi::xml_node node, const ElementDef& def) {
    if (node.type() != pugi::node_element || Scope::Split(node.name()).local != def.localName) return false;
    return Scope::ElementUri(node) == def.ns.uri;
}

bool AttributeMatches(pugi::xml_node element, pugi::xml_attribute attribute, const ElementDef& def) {
    if (Scope::IsNamespaceDeclaration(attribute.name())) return false;
    const Scope::QualifiedName name = Scope::Split(attribute.name());
    if (name.local != def.localName) return false;
    if (name.prefix.empty()) return def.ns.uri.empty() || Scope::ElementUri(element) == def.ns.uri;
    return Scope::LookupUri(element, name.prefix) == def.ns.uri;
}

// utf8 without the characters that no XML document may hold: the control characters but
// tab, line feed and carriage return, and U+FFFE and U+FFFF. Written, they would become
// references that XML readers refuse, and NUL would end the text there.
std::string XmlText(std::string_view utf8) {
    std::string text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        const auto byte = static_cast<unsigned char>(utf8[at]);
        if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') continue;
        if (utf8.substr(at, 3) == "\xEF\xBF\xBE" || utf8.substr(at, 3) == "\xEF\xBF\xBF") {
            at += 2;
            continue;
        }
        text += utf8[at];
    }
    return text;
}

bool IsValidDef(const ElementDef& def) {
    return Scope::IsValidLocalName(def.localName) &&
           (def.ns.prefix.empty() || Scope::IsValidLocalName(def.ns.prefix)) &&
           def.ns.prefix != "xml" && def.ns.prefix != "xmlns";
}

// The first element below root in document order that matches def; walks without
// recursion, so deep documents cannot exhaust the stack.
pugi::xml_node FindDescendant(pugi::xml_node root, const ElementDef& def) {
    pugi::xml_node current = root.first_child();
    while (current) {
        if (Matches(current, def)) return current;
        if (pugi::xml_node child = current.first_child()) {
            current = child;
            continue;
        }
        while (current != root && !current.next_sibling()) current = current.parent();
        if (current == root) break;
        current = current.next_sibling();
    }
    return {};
}

// A prefix that is bound nowhere in scope, so that declaring it changes no other name.
std::string UnboundPrefix(pugi::xml_node element, const std::string& preferred) {
    if (!preferred.empty() && !Scope::LookupUri(element, preferred)) return preferred;
    for (int n = 1;; ++n) {
        std::string candidate = "ns" + std::to_string(n);
        if (!Scope::LookupUri(element, candidate)) return candidate;
    }
}

}  // namespace

Node* Node::AddChildNode(const ElementDef& def, const std::string& text) {
    if (!IsValidDef(def)) return nullptr;
    pugi::xml_node parent(m_node);
    std::string name = def.localName;
    std::string declaration;
    if (def.ns.uri.empty()) {
        if (!Scope::LookupUri(parent, {}).value_or(std::string()).empty()) declaration = "xmlns";
    } else if (const auto prefix = Scope::FindPrefix(parent, def.ns.uri, def.ns.prefix, true)) {
        name = Scope::Join(*prefix, def.localName);
    } else {
        name = Scope::Join(def.ns.prefix, def.localName);
        declaration = def.ns.prefix.empty() ? std::string("xmlns") : "xmlns:" + def.ns.prefix;
    }
    pugi::xml_node child = parent.append_child(name.c_str());
    if (!child) return nullptr;
    if (!declaration.empty()) child.append_attribute(declaration.c_str()).set_value(def.ns.uri.c_str());
    if (const std::string written = XmlText(text); !written.empty()) {
        child.append_child(pugi::node_pcdata).set_value(written.c_str());
    }
    return m_document->Wrap(child.internal_object());
}

bool Node::SetAttribute(const ElementDef& def, const std::string& utf8) {
    if (!IsValidDef(def)) return false;
    pugi::xml_node element(m_node);
    for (pugi::xml_attribute attribute : element.attributes()) {
        if (AttributeMatches(element, attribute, def)) return attribute.set_value(XmlText(utf8).c_str());
    }
    std::string name = def.localName;
    if (!def.ns.uri.empty() && Scope::ElementUri(element) != def.ns.uri) {
        if (const auto bound = Scope::FindPrefix(element, def.ns.uri, def.ns.prefix, false)) {
            name = Scope::Join(*bound, def.localName);
        } else {
            const std::string prefix = UnboundPrefix(element, def.ns.prefix);
            element.append_attribute(("xmlns:" + prefix).c_str()).set_value(def.ns.uri.c_str());
            name = Scope::Join(prefix, def.localName);
        }
    }
    return element.append_attribute(name.c_str()).set_value(XmlText(utf8).c_str());
}

bool Node::DeclareNamespace(const NamespaceDef& ns) {
    if (!Scope::IsValidLocalName(ns.prefix) || ns.prefix == "xml" || ns.prefix == "xmlns") return false;
    pugi::xml_node element(m_node);
    const std::string declaration = "xmlns:" + ns.prefix;
    if (element.attribute(declaration.c_str())) return false;
    return element.append_attribute(declaration.c_str()).set_value(ns.uri.c_str());
}

OvxUtils::optional<std::string> Node::GetAttribute(const ElementDef& def) const {
    const pugi::xml_node element(m_node);
    for (const pugi::xml_attribute attribute : element.attributes()) {
        if (AttributeMatches(element, attribute, def)) return std::string(attribute.value());
    }
    return std::nullopt;
}

Node* Node::FindNode(const ElementDef& def, bool recursive) {
    return const_cast<Node*>(static_cast<const Node*>(this)->FindNode(def, recursive));
}

const Node* Node::FindNode(const ElementDef& def, bool recursive) const {
    const pugi::xml_node element(m_node);
    pugi::xml_node found;
    if (recursive) {
        found = FindDescendant(element, def);
    } else {
        for (const pugi::xml_node child : element.children()) {
            if (Matches(child, def)) {
                found = child;
                break;
            }
        }
    }
    return found ? m_document->Wrap(found.internal_object()) : nullptr;
}

std::vector<Node*> Node::GetChildNodes(const ElementDef& def) {
    std::vector<Node*> nodes;
    for (const pugi::xml_node child : pugi::xml_node(m_node).children()) {
        if (Matches(child, def)) nodes.push_back(m_document->Wrap(child.internal_object()));
    }
    return nodes;
}

std::vector<const Node*> Node::GetChildNodes(const ElementDef& def) const {
    std::vector<const Node*> nodes;
    for (const pugi::xml_node child : pugi::xml_node(m_node).children()) {
        if (Matches(child, def)) nodes.push_back(m_document->Wrap(child.internal_object()));
    }
    return nodes;
}

std::vector<const Node*> Node::GetAllChildNodes() const {
    std::vector<const Node*> nodes;
    for (const pugi::xml_node child : pugi::xml_node(m_node).children()) {
        if (child.type() == pugi::node_element) nodes.push_back(m_document->Wrap(child.internal_object()));
    }
    return nodes;
}

std::size_t Node::GetChildNodeCount() const {
    std::size_t count = 0;
    for (const pugi::xml_node child : pugi::xml_node(m_node).children()) {
        if (child.type() == pugi::node_element) ++count;
    }
    return count;
}

bool Node::Is(const ElementDef& def) const { return Matches(pugi::xml_node(m_node), def); }

std::string Node::GetLocalName() const { return std::string(Scope::Split(pugi::xml_node(m_node).name()).local); }

std::string Node::GetNamespaceUri() const { return Scope::ElementUri(pugi::xml_node(m_node)).value_or(std::string()); }

NamespaceDef Node::GetNamespace() const {
    return {std::string(Scope::Split(pugi::xml_node(m_node).name()).prefix), GetNamespaceUri()};
}

std::string Node::GetText() const {
    std::string text;
    for (const pugi::xml_node child : pugi::xml_node(m_node).children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) text += child.value();
    }
    return text;
}

}  // namespace VdcContainer::XmlNS
