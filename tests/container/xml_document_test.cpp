// XmlNS::Document and XmlNS::Node: namespace-aware lookups whatever the prefixes, and safe
// parsing of hostile XML.
#include "OvxComponent/container/xml_document.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace VdcContainer;
using XmlNS::ElementDef;
using XmlNS::NamespaceDef;

const NamespaceDef kNs{"", "urn:test:widget"};
const NamespaceDef kOther{"o", "urn:test:other"};
const ElementDef kWidget{kNs, "widget"};
const ElementDef kPart{kNs, "part"};
const ElementDef kName{kNs, "name"};
const ElementDef kNote{kOther, "note"};
const ElementDef kOtherName{kOther, "name"};

std::unique_ptr<XmlNS::Document> Parse(const std::string& xml) {
    auto document = XmlNS::Document::Parse(xml, 1 << 20);
    EXPECT_TRUE(document) << document.ErrorText();
    return document ? std::move(*document) : nullptr;
}

// The same document under two spellings of its namespaces.
class NamespaceSpellingTest : public testing::TestWithParam<std::string> {};

TEST_P(NamespaceSpellingTest, LooksUpByUriAndLocalName) {
    auto document = Parse(GetParam());
    ASSERT_TRUE(document);
    const XmlNS::Node& root = document->Root();
    EXPECT_TRUE(root.Is(kWidget));
    EXPECT_EQ(root.GetAttribute(kName), "w1");  // unprefixed: in the element's namespace
    EXPECT_EQ(root.GetAttribute(kOtherName), "other");

    const auto parts = root.GetChildNodes(kPart);
    ASSERT_EQ(parts.size(), 2u);
    EXPECT_EQ(parts[0]->GetAttribute(kName), "p1");
    EXPECT_EQ(parts[1]->GetText(), "second");
    EXPECT_EQ(root.FindNode(kNote, false), nullptr);  // the note is a grandchild
    ASSERT_NE(root.FindNode(kNote, true), nullptr);
    EXPECT_EQ(root.FindNode(kNote, true)->GetText(), "deep");
    EXPECT_EQ(root.FindNode(ElementDef{{}, "part"}, true), nullptr);  // no namespace is another name
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, NamespaceSpellingTest,
    testing::Values(
        R"(<widget xmlns="urn:test:widget" xmlns:o="urn:test:other" name="w1" o:name="other">
             <part name="p1"/><part>second</part><box><o:note>deep</o:note></box></widget>)",
        R"(<a:widget xmlns:a="urn:test:widget" xmlns:b="urn:test:other" b:name="other" name="w1">
             <a:part xmlns:a="urn:test:widget" name="p1"/><part xmlns="urn:test:widget">second</part>
             <c:box xmlns:c="urn:test:widget"><b:note>deep</b:note></c:box></a:widget>)"));

TEST(XmlDocumentTest, BuiltDocumentDeclaresNamespacesAndReadsBack) {
    auto document = XmlNS::Document::Create(kWidget);
    XmlNS::Node& root = document->Root();
    ASSERT_TRUE(root.SetAttribute(kOtherName, "tab\there, line\r\nend \"quoted\""));
    // Characters that XML cannot hold are left out: a NUL, other controls, U+FFFF.
    ASSERT_TRUE(root.SetAttribute(kName, "replaced\x01 & <1>\xEF\xBF\xBF"));
    XmlNS::Node* part = root.AddChildNode(kPart, "text with \xE2\x98\x83" + std::string(1, '\0') + " & <tags>\x1F\r\n");
    ASSERT_NE(part, nullptr);
    ASSERT_NE(part->AddChildNode(kNote, "deep"), nullptr);
    EXPECT_EQ(root.AddChildNode(ElementDef{kNs, "bad name"}), nullptr);
    EXPECT_FALSE(root.SetAttribute(ElementDef{kNs, "a:b"}, "x"));

    const std::string bytes = document->ToBytes();
    auto reread = Parse(bytes);
    ASSERT_TRUE(reread);
    EXPECT_EQ(reread->Root().GetAttribute(kName), "replaced & <1>");
    EXPECT_EQ(reread->Root().GetAttribute(kOtherName), "tab\there, line\r\nend \"quoted\"");
    const XmlNS::Node* rereadPart = reread->Root().FindNode(kPart, false);
    ASSERT_NE(rereadPart, nullptr);
    EXPECT_EQ(rereadPart->GetText(), "text with \xE2\x98\x83 & <tags>\r\n");
    EXPECT_EQ(rereadPart->FindNode(kNote, false)->GetNamespaceUri(), "urn:test:other");
    EXPECT_EQ(reread->ToBytes(), bytes);
}

struct HostileXml {
    const char* label;
    std::string xml;
    std::u16string error;
};

void PrintTo(const HostileXml& hostile, std::ostream* out) { *out << hostile.label; }

class HostileXmlTest : public testing::TestWithParam<HostileXml> {};

TEST_P(HostileXmlTest, IsRefused) {
    auto document = XmlNS::Document::Parse(GetParam().xml, 4096);
    ASSERT_FALSE(document);
    EXPECT_EQ(document.ErrorText(), CString(GetParam().error));
}

std::string Nested(int depth) {
    std::string xml;
    for (int i = 0; i < depth; ++i) xml += "<a>";
    for (int i = 0; i < depth; ++i) xml += "</a>";
    return xml;
}

INSTANTIATE_TEST_SUITE_P(
    Documents, HostileXmlTest,
    testing::Values(
        HostileXml{"EntityExpansion",
                   "<?xml version=\"1.0\"?><!DOCTYPE lolz [<!ENTITY lol \"lol\"><!ENTITY lol2 "
                   "\"&lol;&lol;&lol;&lol;\">]><lolz>&lol2;</lolz>",
                   u"declares a document type, which is not allowed"},
        HostileXml{"ExternalEntity",
                   "<!DOCTYPE r [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><r>&x;</r>",
                   u"declares a document type, which is not allowed"},
        HostileXml{"TooDeep", Nested(XmlNS::Document::kMaxDepth + 1), u"nests elements deeper than 256 levels"},
        HostileXml{"TooLarge", "<r>" + std::string(5000, 'x') + "</r>", u"is larger than the cap of 4096 bytes"},
        HostileXml{"NotUtf8", "<r>\xFF\xFE</r>", u"is not UTF-8"},
        HostileXml{"ReferenceBeyondUnicode", "<r a=\"&#x110000;\">x</r>",
                   u"holds a character reference to no Unicode character"},
        HostileXml{"ReferenceToNul", "<r>cut &#x00; here</r>", u"holds a character reference to U+0000, which XML does not allow"},
        HostileXml{"Unclosed", "<r><a></r>", u"is not well-formed XML: Start-end tags mismatch at byte 8"}),
    [](const testing::TestParamInfo<HostileXml>& param) { return std::string(param.param.label); });

TEST(XmlDocumentTest, WhatOnlyLooksHostileIsAccepted) {
    EXPECT_TRUE(XmlNS::Document::Parse(Nested(XmlNS::Document::kMaxDepth), 1 << 20));
    EXPECT_TRUE(XmlNS::Document::Parse("<r a=\"&#10;\"><!-- &#0; --><![CDATA[&#x0;]]><?pi &#0;?>&#x20;</r>", 1 << 20));
}

}  // namespace
