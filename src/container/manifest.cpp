// Manifest and its XML form.
#include "container/manifest.h"

#include "OvxComponent/container/xml_document.h"
#include "container/entry_name.h"
#include "container/multi_language_xml.h"
#include "container/zip_container_schema.h"

#include <set>

namespace VdcContainer {

namespace {

const XmlNS::ElementDef kRoot{ZipContainerSchema::containerNs, "manifest"};
const XmlNS::ElementDef kRootFile{ZipContainerSchema::containerNs, "root-file"};
const XmlNS::ElementDef kTitle{ZipContainerSchema::containerNs, "title"};
const XmlNS::ElementDef kVersion{{}, "version"};
const XmlNS::ElementDef kPath{{}, "full-path"};
const XmlNS::ElementDef kMediaType{{}, "media-type"};
const XmlNS::ElementDef kKind{{}, "kind"};
const XmlNS::ElementDef kMain{{}, "main"};
const XmlNS::ElementDef kRootNamespace{{}, "root-namespace"};
const XmlNS::ElementDef kRootElement{{}, "root-element"};

CString Text(const XmlNS::Node& node, const XmlNS::ElementDef& attribute) {
    return CString::FromUtf8(node.GetAttribute(attribute).value_or(std::string()));
}

}  // namespace

std::string Manifest::ToXml() const {
    auto document = XmlNS::Document::Create(kRoot);
    XmlNS::Node& root = document->Root();
    root.SetAttribute(kVersion, "1.0");
    for (const RootFileInfo& file : rootFiles) {
        XmlNS::Node* node = root.AddChildNode(kRootFile);
        node->SetAttribute(kPath, file.name.ToUtf8());
        node->SetAttribute(kMediaType, file.mimeType.ToUtf8());
        if (!file.kind.IsEmpty()) node->SetAttribute(kKind, file.kind.ToUtf8());
        if (file.name == mainRootFile) node->SetAttribute(kMain, "true");
        node->SetAttribute(kRootNamespace, file.rootElement.ns.uri);
        node->SetAttribute(kRootElement, file.rootElement.localName);
        if (!file.title.IsEmpty()) WriteMultiLanguage(*node->AddChildNode(kTitle), file.title);
    }
    return document->ToBytes();
}

Result<Manifest> Manifest::FromXml(std::string_view bytes, std::uint64_t maxSize) {
    auto document = XmlNS::Document::Parse(bytes, maxSize);
    if (!document) return document.TakeError();
    const XmlNS::Node& root = (*document)->Root();
    if (!root.Is(kRoot)) return Error{u"has another root element than manifest"};
    const std::string version = root.GetAttribute(kVersion).value_or("1.0");
    if (!version.starts_with("1.")) return Error{u"has version " + Quoted(version) + u", which is not supported"};

    Manifest manifest;
    std::set<CString, CStringNoCaseLess> names;
    for (const XmlNS::Node* node : root.GetChildNodes(kRootFile)) {
        const std::string path = node->GetAttribute(kPath).value_or(std::string());
        auto name = EntryName::Parse(path);
        if (!name) return Error{u"lists an invalid root file: " + name.ErrorText()};
        if (name->IsFolder()) return Error{u"lists the folder " + Quoted(path) + u" as a root file"};
        RootFileInfo file;
        file.name = CString::FromUtf8(path);
        if (!names.insert(file.name).second) return Error{u"lists root file " + Quoted(path) + u" twice"};
        file.mimeType = Text(*node, kMediaType);
        file.kind = Text(*node, kKind);
        file.rootElement.ns.uri = node->GetAttribute(kRootNamespace).value_or(std::string());
        file.rootElement.localName = node->GetAttribute(kRootElement).value_or(std::string());
        if (const XmlNS::Node* title = node->FindNode(kTitle, false)) file.title = ReadMultiLanguage(*title);
        if (node->GetAttribute(kMain) == "true") {
            if (!manifest.mainRootFile.IsEmpty()) return Error{u"names more than one main root file"};
            manifest.mainRootFile = file.name;
        }
        manifest.rootFiles.push_back(std::move(file));
    }
    return manifest;
}

}  // namespace VdcContainer
