// A MultiLanguageString as <text> children.
#include "container/multi_language_xml.h"

#include "container/zip_container_schema.h"

namespace VdcContainer {

namespace {
const XmlNS::ElementDef kText{ZipContainerSchema::containerNs, "text"};
const XmlNS::ElementDef kLang{{}, "lang"};
}  // namespace

bool WriteMultiLanguage(XmlNS::Node& parent, const MultiLanguageString& value) {
    if (!parent.AddChildNode(kText, value.GetDefault().ToUtf8())) return false;
    for (const auto& [language, text] : value.GetVariants()) {
        XmlNS::Node* node = parent.AddChildNode(kText, text.ToUtf8());
        if (!node || !node->SetAttribute(kLang, language.ToUtf8())) return false;
    }
    return true;
}

MultiLanguageString ReadMultiLanguage(const XmlNS::Node& parent) {
    MultiLanguageString value;
    for (const XmlNS::Node* node : parent.GetChildNodes(kText)) {
        const CString language = CString::FromUtf8(node->GetAttribute(kLang).value_or(std::string()));
        value.Set(language, CString::FromUtf8(node->GetText()));
    }
    return value;
}

}  // namespace VdcContainer
