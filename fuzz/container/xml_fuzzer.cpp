// Parses arbitrary bytes as the XML of a root file and walks the whole tree with the
// XmlNS API, as a package's record reader would. A document that parses must serialise
// to bytes that parse again and serialise to the same bytes.
// Seeds: ovx_container_seeds (seeds.cpp).

#include "OvxComponent/container/xml_document.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace VdcContainer::XmlNS;

const NamespaceDef kWidgetNs{"", "urn:test:widget"};
const ElementDef kPart{kWidgetNs, "part"};
const ElementDef kName{kWidgetNs, "name"};
const ElementDef kPlainName{NamespaceDef{}, "name"};

void Walk(const Node& node, int depth) {
    if (depth > Document::kMaxDepth + 1) std::abort();  // deeper than parsing allows
    (void)node.GetLocalName();
    (void)node.GetNamespaceUri();
    (void)node.GetNamespace();
    (void)node.GetText();
    (void)node.GetAttribute(kName);
    (void)node.GetAttribute(kPlainName);
    (void)node.GetAttribute(ElementDef{node.GetNamespace(), node.GetLocalName()});
    if (node.Is(kPart) != (node.GetLocalName() == "part" && node.GetNamespaceUri() == kWidgetNs.uri)) std::abort();
    (void)node.FindNode(kPart, false);
    (void)node.GetChildNodes(kPart);
    const auto children = node.GetAllChildNodes();
    if (children.size() != node.GetChildNodeCount()) std::abort();
    for (const Node* child : children) Walk(*child, depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint64_t kMaxSize = 1 << 20;
    auto parsed = Document::Parse(std::string_view(reinterpret_cast<const char*>(data), size), kMaxSize);
    if (!parsed) return 0;
    const Document& document = **parsed;
    Walk(document.Root(), 1);
    (void)document.Root().FindNode(kPart, true);

    const std::string bytes = document.ToBytes();
    auto again = Document::Parse(bytes, ~std::uint64_t{0});
    if (!again) std::abort();
    if ((*again)->ToBytes() != bytes) std::abort();
    return 0;
}
