/// \file
/// XmlNS::Node: one element of an XML document held by XmlNS::Document.
///
/// Nodes belong to their document and live as long as it does; the pointers handed out
/// here are borrowed (not owned) and stay valid until the document is destroyed. Lookups are
/// namespace-aware as xml_names.h describes. Text is UTF-8; what no XML document may hold
/// (control characters other than tab, line feed and carriage return; U+FFFE, U+FFFF) is
/// left out of the text and attribute values given. A document and its nodes are used by
/// one thread at a time.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/xml_names.h"
#include "OvxComponent/platform/optional.h"
#include "OvxComponent/platform/ovx_export.h"

#include <cstddef>
#include <string>
#include <vector>

namespace pugi {
struct xml_node_struct;
}

namespace VdcContainer::XmlNS {

class Document;

/// An element of an XmlNS::Document, with its attributes, text and children.
class OVX_API Node {
public:
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    /// Appends a child element, declaring its namespace when it is not in scope, with text
    /// as its content when text is not empty. Null when the child cannot be added (an
    /// empty or malformed local name).
    /// \param def The new element.
    /// \param text Its text, in UTF-8; empty for none.
    /// \return The new element, owned by the document.
    Node* AddChildNode(const ElementDef& def, const std::string& text = std::string());
    /// Sets or replaces an attribute; false for an empty or malformed local name.
    /// \param def The attribute.
    /// \param utf8 Its value, in UTF-8.
    /// \return Whether it was set.
    bool SetAttribute(const ElementDef& def, const std::string& utf8);
    /// Declares ns on this element, so that children in ns need no declaration of their
    /// own; false when its prefix is empty or already bound on this element.
    /// \param ns The namespace.
    /// \return Whether it was declared.
    bool DeclareNamespace(const NamespaceDef& ns);
    /// The attribute's value, or no value when the element has no such attribute.
    /// \param def The attribute.
    /// \return Its value in UTF-8, or nothing.
    OvxUtils::optional<std::string> GetAttribute(const ElementDef& def) const;

    /// The first matching child element, or with recursive the first matching element of
    /// the whole subtree in document order; null when there is none.
    /// \param def The element to find.
    /// \param recursive Whether to search the whole subtree.
    /// \return The element, or null.
    Node* FindNode(const ElementDef& def, bool recursive);
    /// The first element of def among the children (or, recursive, the descendants); null when none is.
    /// \param def The element to find.
    /// \param recursive Whether to search the whole subtree.
    /// \return The element, or null.
    const Node* FindNode(const ElementDef& def, bool recursive) const;
    /// The matching child elements, in document order.
    /// \param def The elements to find.
    /// \return The children that are def.
    std::vector<Node*> GetChildNodes(const ElementDef& def);
    /// The children of def.
    /// \param def The elements to find.
    /// \return The children that are def.
    std::vector<const Node*> GetChildNodes(const ElementDef& def) const;
    /// Every child element, whatever its name.
    /// \return The child elements, in document order.
    std::vector<const Node*> GetAllChildNodes() const;
    /// The number of child elements, whatever their names.
    /// \return The number of child elements.
    std::size_t GetChildNodeCount() const;

    /// Whether the element is def.
    /// \param def An element.
    /// \return Whether this element is def.
    bool Is(const ElementDef& def) const;
    /// The element's local name.
    /// \return The local name.
    std::string GetLocalName() const;
    /// The element's namespace URI.
    /// \return The namespace URI.
    std::string GetNamespaceUri() const;
    /// The element's namespace with the prefix this document writes for it.
    /// \return The namespace, with its prefix.
    NamespaceDef GetNamespace() const;
    /// The element's own character data, without that of its children.
    /// \return The text, in UTF-8.
    std::string GetText() const;

private:
    friend class Document;
    Node(const Document* document, pugi::xml_node_struct* node) : m_document(document), m_node(node) {}

    const Document* m_document;  ///< not owned; the document owns this node
    pugi::xml_node_struct* m_node;
};

}  // namespace VdcContainer::XmlNS
