// XmlNS::Document over a pugixml document.
#include "OvxComponent/container/xml_document.h"

#include "container/xml_scope.h"
#include "platform/data_encoding.h"

#include <pugixml.hpp>

#include <string_view>
#include <unordered_map>
#include <utility>

namespace VdcContainer::XmlNS {

struct Document::Impl {
    pugi::xml_document document;
    mutable std::unordered_map<pugi::xml_node_struct*, std::unique_ptr<Node>> nodes;
};

namespace {

// Character data is kept exactly as written (no line-end normalisation), so text that
// this library writes reads back unchanged; a whitespace-only text of an element without
// children is kept too.
constexpr unsigned kParseOptions =
    (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_doctype | pugi::parse_ws_pcdata_single;

// Refuses trees nested too deeply, and text that character references decoded into
// something that is not UTF-8 (a reference beyond U+10FFFF, or to a surrogate): such a
// document could be read but never written back readably.
struct TreeCheck final : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node& node) override {
        tooDeep = depth() >= Document::kMaxDepth;
        badText = !OvxUtils::DataEncoding::IsValidUtf8(node.value());
        for (const pugi::xml_attribute attribute : node.attributes())
            badText = badText || !OvxUtils::DataEncoding::IsValidUtf8(attribute.value());
        return !tooDeep && !badText;
    }
    bool tooDeep = false;
    bool badText = false;
};

// Whether bytes hold a character reference to U+0000 ("&#0;", "&#x00;"), which XML does
// not allow and the parser would decode into the end of its text, losing what follows.
// In comments, CDATA sections and processing instructions "&#" is plain text.
bool HoldsReferenceToNul(std::string_view bytes) {
    static constexpr std::pair<std::string_view, std::string_view> kPlainText[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    std::size_t at = bytes.find_first_of("<&");
    while (at != std::string_view::npos) {
        const std::string_view rest = bytes.substr(at);
        if (rest.starts_with("&#")) {
            const std::string_view number = rest.substr(rest.starts_with("&#x") ? 3 : 2);
            const std::size_t zeros = number.find_first_not_of('0');
            if (zeros > 0 && zeros != std::string_view::npos && number[zeros] == ';') return true;
        }
        for (const auto& [open, close] : kPlainText) {
            if (!rest.starts_with(open)) continue;
            at = bytes.find(close, at + open.size());  // unclosed: the parser refuses it
            if (at == std::string_view::npos) return false;
            break;
        }
        at = bytes.find_first_of("<&", at + 1);
    }
    return false;
}

struct StringWriter final : pugi::xml_writer {
    void write(const void* data, size_t size) override { bytes.append(static_cast<const char*>(data), size); }
    std::string bytes;
};

}  // namespace

Document::Document(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
Document::~Document() = default;

std::unique_ptr<Document> Document::Create(const ElementDef& root) {
    auto impl = std::make_unique<Impl>();
    pugi::xml_node element = impl->document.append_child(Scope::Join(root.ns.prefix, root.localName).c_str());
    if (!root.ns.uri.empty()) {
        const std::string declaration = root.ns.prefix.empty() ? std::string("xmlns") : "xmlns:" + root.ns.prefix;
        element.append_attribute(declaration.c_str()).set_value(root.ns.uri.c_str());
    }
    return std::unique_ptr<Document>(new Document(std::move(impl)));
}

Result<std::unique_ptr<Document>> Document::Parse(std::string_view bytes, std::uint64_t maxSize) {
    if (bytes.size() > maxSize) return Error{u"is larger than the cap of " + DecimalText(maxSize) + u" bytes"};
    if (!OvxUtils::DataEncoding::IsValidUtf8(bytes)) return Error{u"is not UTF-8"};
    if (HoldsReferenceToNul(bytes)) return Error{u"holds a character reference to U+0000, which XML does not allow"};
    auto impl = std::make_unique<Impl>();
    const pugi::xml_parse_result parsed =
        impl->document.load_buffer(bytes.data(), bytes.size(), kParseOptions, pugi::encoding_utf8);
    if (!parsed) {
        return Error{u"is not well-formed XML: " + CString::FromUtf8(parsed.description()) + u" at byte " +
                     DecimalText(static_cast<unsigned long long>(parsed.offset))};
    }
    for (const pugi::xml_node child : impl->document.children()) {
        if (child.type() == pugi::node_doctype) return Error{u"declares a document type, which is not allowed"};
    }
    TreeCheck check;
    impl->document.traverse(check);
    if (check.tooDeep) return Error{u"nests elements deeper than " + DecimalText(kMaxDepth) + u" levels"};
    if (check.badText) return Error{u"holds a character reference to no Unicode character"};
    return std::unique_ptr<Document>(new Document(std::move(impl)));
}

Node& Document::Root() { return *Wrap(m_impl->document.document_element().internal_object()); }

const Node& Document::Root() const { return *Wrap(m_impl->document.document_element().internal_object()); }

std::string Document::ToBytes() const {
    StringWriter writer;
    writer.bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    m_impl->document.save(writer, "  ", pugi::format_indent | pugi::format_no_declaration, pugi::encoding_utf8);
    return std::move(writer.bytes);
}

Node* Document::Wrap(pugi::xml_node_struct* node) const {
    std::unique_ptr<Node>& wrapper = m_impl->nodes[node];
    if (!wrapper) wrapper.reset(new Node(this, node));
    return wrapper.get();
}

}  // namespace VdcContainer::XmlNS
