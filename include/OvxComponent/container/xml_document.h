/// \file
/// XmlNS::Document: an XML document in memory, parsed from untrusted bytes or built anew.
///
/// Parsing is made safe for hostile input: the size is capped, a document type declaration
/// (and so any entity definition) is refused, nesting is limited to kMaxDepth levels, and
/// the bytes must be UTF-8 and hold no character reference to U+0000 (which would end its
/// text there). Only the five predefined entities and character references are expanded;
/// nothing is ever loaded from outside the bytes given.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/result.h"
#include "OvxComponent/container/xml_node.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace pugi {
struct xml_node_struct;
}

namespace VdcContainer::XmlNS {

/// A parsed XML document.
class OVX_API Document {
public:
    /// The deepest nesting of elements a document may have.
    static constexpr int kMaxDepth = 256;

    /// A document holding only its root element, with the root's namespace declared.
    /// \param root The root element.
    /// \return The document.
    static std::unique_ptr<Document> Create(const ElementDef& root);
    /// The error text names what is wrong ("is not well-formed XML: ..."), without saying
    /// which document it is: the caller knows.
    /// \param bytes The XML.
    /// \param maxSize The most bytes accepted.
    /// \return The document, or why it was refused.
    static Result<std::unique_ptr<Document>> Parse(std::string_view bytes, std::uint64_t maxSize);

    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    ///@{
    /// The root element.
    /// \return The root element.
    Node& Root();
    const Node& Root() const;
    ///@}

    /// UTF-8 with an XML declaration, indented by two spaces; the same document always
    /// gives the same bytes.
    /// \return The XML, in UTF-8.
    std::string ToBytes() const;

private:
    friend class Node;
    struct Impl;
    explicit Document(std::unique_ptr<Impl> impl);
    /// The one Node of an element of this document, made on first use.
    Node* Wrap(pugi::xml_node_struct* node) const;

    std::unique_ptr<Impl> m_impl;
};

}  // namespace VdcContainer::XmlNS
